// The window tests, one suite a run: tavelin_gui_tests SUITE [QtTest options].
#include <QApplication>
#include <cstdio>
#include <cstdlib>

#include "gui_suites.h"
#include "views/application_look.h"

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  app.setQuitOnLastWindowClosed(false);
  tavelin::UseProgramLook(app);
  unsetenv("KVR_SIMULATION");  // a test's simulated bench lives as long as the test
  const auto& suites = tavelin::test::GuiSuites();
  if (argc < 2) {
    int failures = 0;
    for (const auto& [name, run] : suites) failures += run(1, argv);
    return failures;
  }
  const auto suite = suites.find(argv[1]);
  if (suite == suites.end()) {
    std::fprintf(stderr, "no suite named %s\n", argv[1]);
    return 2;
  }
  argv[1] = argv[0];
  return suite->second(argc - 1, argv + 1);
}
