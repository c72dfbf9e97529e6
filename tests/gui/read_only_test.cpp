// The program installed where its user may not write: run by
// tests/support/in_read_only_folder.sh, which makes the folder read-only.
#include <cstdlib>
#include <filesystem>

#include "app/instance_lock.h"
#include "gui_suites.h"
#include "gui_support.h"
#include "platform/program_folder.h"

namespace tavelin::test {
namespace {

namespace fs = std::filesystem;

class ReadOnlyTest : public QObject {
  Q_OBJECT

 private slots:
  void init() {
    if (std::getenv("TAVELIN_READ_ONLY_FOLDER") == nullptr) QSKIP("run by in_read_only_folder.sh");
  }

  // It starts as anywhere else: the lock and the settings live in the data
  // folder, and what was set comes back at the next start.
  void theProgramStartsAndKeepsItsSettingsInTheDataFolder() {
    const std::string program = std::getenv("TAVELIN_READ_ONLY_FOLDER");
    const fs::path data = fs::path(std::getenv("XDG_DATA_HOME")) / "tavelin";
    QVERIFY(!FolderIsWritable(program));
    // A lock the read-only folder cannot hold is no second start.
    QCOMPARE(InstanceLock(program).Result(), InstanceLock::Outcome::Unavailable);
    const std::string writable = WritableFolder(program);
    QCOMPARE(writable, data.string());
    const InstanceLock lock(writable);
    QCOMPARE(lock.Result(), InstanceLock::Outcome::Taken);

    const auto agree = [](Formterms& terms) {
      terms.RB_Enable[0]->setChecked(true);
      terms.Bt_agree[0]->click();
    };
    {
      const auto booted = Boot(program, agree, writable);
      QVERIFY(booted->started);
      QCOMPARE(booted->consentShown, 1);
      ViewFrame& view = *booted->form1->ShownView();
      booted->form1->device.t_LogComment = "読み取り専用";
      view.close();
    }
    QVERIFY(fs::exists(data / "config.dat"));
    QVERIFY(!fs::exists(fs::path(program) / "config.dat"));
    const auto again = Boot(program, agree, writable);
    QCOMPARE(again->consentShown, 0);
    QCOMPARE(again->form1->device.t_LogComment, std::string("読み取り専用"));
  }
};

[[maybe_unused]] const bool kRegistered = RegisterSuite<ReadOnlyTest>("readonly");

}  // namespace
}  // namespace tavelin::test

#include "read_only_test.moc"
