// The start-up: library checks, consent, the first view, and the settings
// written at the end.
#include "app/instance_lock.h"
#include "app/raise_requests.h"
#include "dialogs/FormCommonSetting.h"
#include "gui_suites.h"
#include "gui_support.h"
#include "logging/journal_recovery.h"
#include "logging/log_test_support.h"
#include "logging/run_journal.h"
#include "platform/special_folders.h"
#include "support/scoped_environment.h"

namespace tavelin::test {
namespace {

namespace fs = std::filesystem;

const QString kQuit = QStringLiteral("アプリケーションを終了します。");

class BootTest : public QObject {
  Q_OBJECT

 private slots:
  // Which library and which message is the check's own test; here, how the
  // window program shows it and that it ends before anything else.
  void anOldLibraryEndsWithItsMessageBeforeConsent() {
    ProgramFolder folder({{kKvrUsbIoFile, "kvr_usb_io_old"}}, {});
    const auto booted = Boot(folder);
    QVERIFY(!booted->started);
    QCOMPARE(booted->boxes.criticals.size(), 1);
    const QStringList lines = booted->boxes.criticals[0].split('\n');
    QCOMPARE(lines.size(), 3);
    QCOMPARE(lines[0], QStringLiteral("libkvr_usb_io.so のバージョンが異なります。"));
    QCOMPARE(lines[2], kQuit);
    QCOMPARE(booted->boxes.titles[0], QStringLiteral("タヴェリン Ver1.11"));
    QVERIFY(!folder.Has("config.dat"));
    QCOMPARE(booted->consentShown, 0);
  }

  void consentGivenOpensTheFirstViewAndIsSavedAtTheEnd() {
    ProgramFolder folder;
    const auto booted = Boot(folder, [](Formterms& terms) {
      QVERIFY(terms.RB_Enable[1]->isChecked());
      QVERIFY(!terms.Bt_agree[0]->isEnabled());
      terms.RB_Enable[0]->click();
      QVERIFY(terms.Bt_agree[0]->isEnabled());
      terms.Bt_agree[0]->click();
    });
    QVERIFY(booted->started);
    QCOMPARE(booted->consentShown, 1);
    ViewFrame* shown = booted->form1->ShownView();
    QCOMPARE(shown, &booted->form1->View(1));
    QVERIFY(!folder.Has("config.dat"));
    shown->close();
    QVERIFY(booted->form1->Unloaded());
    ELM327_Info saved;
    QCOMPARE(FileSaveSystem::Read_Config(saved, folder.Path()), FileSaveSystem::kRead);
    QCOMPARE(saved.t_TERMS_OF_USE, 1);
    QVERIFY(folder.Has("ch_set.dat"));
    QVERIFY(folder.Has("an_set.dat"));
  }

  void consentRefusedOrCancelledEndsWithoutWriting() {
    const std::function<void(Formterms&)> answers[] = {
        [](Formterms& terms) { terms.Bt_agree[1]->click(); },
        [](Formterms& terms) { terms.close(); },
        [](Formterms& terms) {
          terms.RB_Enable[0]->click();
          terms.RB_Enable[1]->click();  // changed its mind: OK is off again
          QVERIFY(!terms.Bt_agree[0]->isEnabled());
          terms.Bt_agree[1]->click();
        }};
    for (const auto& answer : answers) {
      ProgramFolder folder;
      const auto booted = Boot(folder, answer);
      QVERIFY(!booted->started);
      QCOMPARE(booted->boxes.criticals,
               QStringList{
                   QStringLiteral("使用許諾契約書に同意しない場合、アプリケーションは使用できませ"
                                  "ん。\n") +
                   kQuit});
      QVERIFY(!folder.Has("config.dat"));
    }
  }

  // A view outside 1 to 4 opens the first and is saved as one.
  void savedConsentSkipsTheDialogAndTheSavedViewOpens() {
    for (const auto& [saved, opened] : {std::pair{3, 3}, std::pair{5, 1}}) {
      const auto s = Start(saved);
      QVERIFY(s->booted->started);
      QCOMPARE(s->booted->consentShown, 0);
      QCOMPARE(s->view, &s->Form().View(opened));
      s->view->close();
      ELM327_Info kept;
      FileSaveSystem::Read_Config(kept, s->folder.Path());
      QCOMPARE(kept.t_ViewCh, opened);
    }
    QCOMPARE(Start(3)->view->windowTitle(), QStringLiteral("タヴェリン Ver1.11　デジタル入力"));
  }

  // Only a lock another instance holds means a second start; one that
  // cannot be made is not mistaken for it.
  void aSecondStartFindsTheLockHeldAndNothingElseDoes() {
    using Outcome = InstanceLock::Outcome;
    ProgramFolder folder;
    {
      InstanceLock first(folder.Path());
      QCOMPARE(first.Result(), Outcome::Taken);
      InstanceLock second(folder.Path());
      QCOMPARE(second.Result(), Outcome::HeldByAnother);
    }
    QCOMPARE(InstanceLock(folder.Path()).Result(), Outcome::Taken);  // the first one ended
    InstanceLock nowhere(folder.Path() + "/no/such/folder");
    QCOMPARE(nowhere.Result(), Outcome::Unavailable);
    QVERIFY(!nowhere.Why().empty());
  }

  // A second start asks the first of the same folder for its window, and
  // nobody else's.
  void aSecondStartRaisesTheFirstOfItsFolder() {
    TempFolder folder, other;
    int raised = 0;
    const RaiseRequests first(folder.Path().string(), [&raised] { ++raised; });
    QVERIFY(first.Listening());
    QVERIFY(RaiseRequests::AskRunning(folder.Path().string()));
    QTRY_COMPARE(raised, 1);
    QVERIFY(!RaiseRequests::AskRunning(other.Path().string()));
    QCOMPARE(raised, 1);
  }

  // Settings changed by a dialog are kept aside as its OK closes it: a
  // program that then dies without its end (a kill, a power cut, the crash
  // of a Disconnect after a refused connect) offers them at its next start,
  // and the three files are written only by a normal end, as always.
  void settingsChangedByADialogSurviveAKill() {
    for (const bool restore : {true, false}) {
      TempFolder state;
      const ScopedEnvironment stateHome("XDG_STATE_HOME", state.Path().string());
      ProgramFolder folder;
      SaveSettings(folder, 3, [](ELM327_Info& device) { device.t_LogSampling = 250; });
      const fs::path config = fs::path(folder.Path()) / FileSaveSystem::kConfigFile;
      const std::string before = ReadBytes(config);
      {
        const auto killed = Boot(folder);
        QVERIFY(killed->started);
        killed->form1->ShownView()->menu_common_setting->trigger();
        FormCommonSetting* dialog = killed->form1->TheFormCommonSetting();
        dialog->TB_Sampling->setText(QStringLiteral("700"));
        dialog->Bt_OK->click();
        QCOMPARE(killed->form1->device.t_LogSampling, 700);
      }  // gone without its end: nothing of the unload runs
      QCOMPARE(ReadBytes(config), before);

      const auto next = Boot(folder, {}, {}, restore);
      QVERIFY(next->started);
      QCOMPARE(next->boxes.questions,
               QStringList{QStringLiteral("前回は変更した設定を保存する前に終了しました。\n"
                                          "前回の設定を復元しますか？")});
      QCOMPARE(next->form1->device.t_LogSampling, restore ? 700 : 250);
      next->form1->ShownView()->close();
      ELM327_Info saved;
      FileSaveSystem::Read_Config(saved, folder.Path());
      QCOMPARE(saved.t_LogSampling, restore ? 700 : 250);
      QVERIFY(fs::is_empty(state.Path() / "tavelin"));  // a normal end drops what was kept
      const auto third = Boot(folder);
      QVERIFY(third->boxes.questions.isEmpty());
    }
  }

  // A run that did not end left its journal: the start-up offers to write
  // its rows as logs, and leaves the journal when the user says so.
  void aLeftoverJournalIsOfferedAfterTheDeviceSearches() {
    for (const bool recover : {true, false}) {
      TempFolder state, logs;
      const ScopedEnvironment stateHome("XDG_STATE_HOME", state.Path().string());
      JournalHead head;
      head.viewCh = 1;
      head.pathMode = 2;
      head.savePath = logs.Path().string();
      head.findDevice = 1;
      head.devices = {{0, "0Ch"}};
      std::string why;
      {
        const auto journal = RunJournal::Start(JournalFolder(), head, why);
        QVERIFY2(journal != nullptr, why.c_str());
        for (int row = 0; row < 3; ++row) journal->AddRow(row * 10.0, std::string(1, char(row)));
      }  // the run is gone without finishing
      ProgramFolder folder;
      SaveSettings(folder, 1);
      RecordingBoxes boxes;
      boxes.answer = recover;
      Form1 form1({folder.Path(), &boxes, {}, {}});
      QVERIFY(form1.BootRoutine());
      QCOMPARE(boxes.questions, QStringList{QStringLiteral(
                                    "前回の記録が途中で終わっています (1 件、ファイルにない行 "
                                    "3 行)。\nログファイルに書き出しますか？")});
      const auto written = std::distance(fs::directory_iterator(logs.Path()), {});
      QCOMPARE(written, recover ? 1 : 0);
      QCOMPARE(LeftoverJournals(JournalFolder()).size(), recover ? 0u : 1u);
      if (recover) {
        QCOMPARE(boxes.informations.size(), 1);
        const auto log = fs::directory_iterator(logs.Path())->path();
        QVERIFY(boxes.informations[0].endsWith(QString::fromStdString(log.string())));
      }
    }
  }
};

[[maybe_unused]] const bool kRegistered = RegisterSuite<BootTest>("boot");

}  // namespace
}  // namespace tavelin::test

#include "boot_test.moc"
