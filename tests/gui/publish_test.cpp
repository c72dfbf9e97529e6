// 配信設定 from the ツール menu, and a run of the window reaching a
// mosquitto the test starts.
#include <nlohmann/json.hpp>

#include "dialogs/publish_dialog.h"
#include "gui_suites.h"
#include "gui_support.h"
#include "support/mosquitto_broker.h"
#include "support/scoped_environment.h"

namespace tavelin::test {
namespace {

class PublishTest : public QObject {
  Q_OBJECT

 private slots:
  void theToolMenuSetsPublishingAndTheWindowsRunsReachTheBroker() {
    TempFolder home, logs;
    const ScopedEnvironment config("XDG_CONFIG_HOME", (home.Path() / "config").string());
    const ScopedEnvironment state("XDG_STATE_HOME", (home.Path() / "state").string());
    MosquittoBroker broker;
    Subscriber subscriber(broker, "lab/#");
    const auto s = Start(3, "usbio 0 prepared counter 120\n", [&](ELM327_Info& device) {
      device.t_LogSave_Enable = 1;
      device.t_LogSampling = 10;
      device.t_LogSaveFormat = 2;
      device.t_LogSaveFilePath_mode = 2;
      device.t_LogSaveFilePath = logs.Path().string();
    });
    ViewFrame& view = *s->view;
    const QString title = view.windowTitle();
    QVERIFY(s->Form().ThePublisher() == nullptr);

    bool refused = false;
    QTimer::singleShot(0, [&] {
      auto* dialog = dynamic_cast<PublishDialog*>(QApplication::activeModalWidget());
      QVERIFY(dialog != nullptr);
      dialog->Chk_Enabled->setChecked(true);
      dialog->TB_Url->setText(QStringLiteral("broker/lab"));
      dialog->Btn_OK->click();
      refused = dialog->isVisible() && !dialog->Lb_Problem->text().isEmpty();
      dialog->TB_Url->setText(QString::fromStdString(broker.Url("lab")));
      dialog->TB_Bench->setText(QStringLiteral("bench1"));
      dialog->Btn_OK->click();
    });
    view.menu_tool_publish->trigger();
    QVERIFY2(refused, "a URL that names no broker stays in the dialog");
    QVERIFY(s->Form().ThePublisher() != nullptr);
    QCOMPARE(ReadPublishSettings(PublishSettingsPath()).bench, std::string("bench1"));
    QTRY_COMPARE(view.windowTitle(), title + QStringLiteral("　［配信: 送信中］"));

    RunFor(view, 400);
    QVERIFY(subscriber.WaitFor(
        [](const std::vector<Received>& messages) {
          return std::any_of(messages.begin(), messages.end(), [](const Received& message) {
            return message.payload.find("\"ended\"") != std::string::npos;
          });
        },
        std::chrono::seconds(10)));
    const auto rows = subscriber.Rows();
    QVERIFY(rows.size() > 10);
    QCOMPARE(nlohmann::json::parse(rows.back())["seq"].get<std::size_t>(), rows.size());

    // Off again: the title is the view's own.
    QTimer::singleShot(0, [] {
      auto* dialog = dynamic_cast<PublishDialog*>(QApplication::activeModalWidget());
      dialog->Chk_Enabled->setChecked(false);
      dialog->Btn_OK->click();
    });
    view.menu_tool_publish->trigger();
    QVERIFY(s->Form().ThePublisher() == nullptr);
    QCOMPARE(view.windowTitle(), title);
  }
};

[[maybe_unused]] const bool kRegistered = RegisterSuite<PublishTest>("publish");

}  // namespace
}  // namespace tavelin::test

#include "publish_test.moc"
