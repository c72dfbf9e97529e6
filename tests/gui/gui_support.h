#pragma once
// Booting the real program into a temp folder, with message boxes and the
// consent answered by the test.
#include <QCoreApplication>
#include <QStringList>
#include <QTimer>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "app/Form1.h"
#include "app/boot_windows.h"
#include "settings/FileSaveSystem.h"
#include "support/program_folder.h"
#include "support/simulation.h"
#include "views/view_frame.h"

namespace tavelin::test {

class RecordingBoxes final : public MessageBoxes {
 public:
  void Critical(QWidget*, const QString& title, const QString& text) override {
    titles << title;
    criticals << text;
  }
  void Exclamation(QWidget*, const QString& title, const QString& text) override {
    titles << title;
    exclamations << text;
  }
  bool OkCancel(QWidget*, const QString&, const QString& text, QMessageBox::Icon) override {
    questions << text;
    return answer;
  }
  bool Ask(QWidget*, const QString&, const QString& text, const QString&, const QString&) override {
    questions << text;
    return answer;
  }
  void Information(QWidget*, const QString&, const QString& text) override { informations << text; }
  QStringList titles, criticals, exclamations, questions, informations;
  bool answer = true;
};

using DeviceChange = std::function<void(ELM327_Info&)>;
using ProbeChange = std::function<void(KVR_USB_Probe&)>;

// Settings as a user left them: consent given, the view of `mode`, and the
// probes' settings when `probeChange` sets them.
inline void SaveSettings(const ProgramFolder& folder, int32_t mode, const DeviceChange& change = {},
                         const ProbeChange& probeChange = {}) {
  ELM327_Info device;
  device.t_TERMS_OF_USE = 1;
  device.t_ViewCh = mode;
  if (change) change(device);
  FileSaveSystem::Write_Config(device, folder.Path());
  FileSaveSystem::Write_ChSet(device, folder.Path());
  if (probeChange) {
    KVR_USB_Probe probe;
    probeChange(probe);
    FileSaveSystem::Write_AnSet(probe, folder.Path());
  }
}

struct Booted {
  RecordingBoxes boxes;
  std::unique_ptr<Form1> form1;
  bool started = false;
  int consentShown = 0;
};

// Boots the program; `consent` answers the terms dialog when it shows.
// The settings and logs of mode 0 go to `writable`, or to the program's
// folder when it is empty.
inline std::unique_ptr<Booted> Boot(const std::string& programFolder,
                                    std::function<void(Formterms&)> consent = {},
                                    const std::string& writable = {}, bool answer = true) {
  auto booted = std::make_unique<Booted>();
  booted->boxes.answer = answer;
  Booted* raw = booted.get();
  BootEnvironment environment{programFolder, &booted->boxes,
                              [raw, consent](Formterms& terms) {
                                ++raw->consentShown;
                                if (consent) consent(terms);
                              },
                              writable};
  booted->form1 = std::make_unique<Form1>(environment);
  booted->started = booted->form1->BootRoutine();
  return booted;
}

inline std::unique_ptr<Booted> Boot(const ProgramFolder& folder,
                                    std::function<void(Formterms&)> consent = {},
                                    const std::string& writable = {}, bool answer = true) {
  return Boot(folder.Path(), std::move(consent), writable, answer);
}

// The program booted on view `mode` over the simulated `bench` (or with no
// simulation at all), its settings as `change` and `probeChange` leave them.
struct Started {
  ProgramFolder folder;
  std::unique_ptr<Simulation> simulation;
  std::unique_ptr<Booted> booted;
  ViewFrame* view = nullptr;
  Form1& Form() { return *booted->form1; }
  ELM327_Info& Device() { return booted->form1->device; }
  RecordingBoxes& Boxes() { return booted->boxes; }
};

template <typename S = Started>
std::unique_ptr<S> Start(int32_t mode, const std::optional<std::string>& bench = {},
                         const DeviceChange& change = {}, const ProbeChange& probeChange = {}) {
  auto s = std::make_unique<S>();
  SaveSettings(s->folder, mode, change, probeChange);
  if (bench) s->simulation = std::make_unique<Simulation>(*bench);
  s->booted = Boot(s->folder);
  s->view = s->booted->form1->ShownView();
  return s;
}

// The same with the menu entry `entry` of the view chosen.
template <typename Opened = Started>
std::unique_ptr<Opened> OpenFromMenu(int32_t mode, QAction* ViewFrame::*entry,
                                     const std::optional<std::string>& bench = {},
                                     const DeviceChange& change = {}) {
  auto o = Start<Opened>(mode, bench, change);
  (o->view->*entry)->trigger();
  return o;
}

// A sampling run from the Connect click: `during` runs after `ms`, then
// Disconnect is clicked; returns once the run and its timer have settled.
inline void RunFor(ViewFrame& view, int ms, const std::function<void()>& during = {}) {
  QTimer::singleShot(ms, [&view, during] {
    if (during) during();
    view.Pic_Disconnect_Click();
  });
  view.Pic_Connect_Click();
  QTimer settle;
  settle.setSingleShot(true);
  settle.start(100);
  while (settle.isActive()) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

}  // namespace tavelin::test
