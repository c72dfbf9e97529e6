// The window tests, one suite a run: tavelin_gui_tests SUITE [QtTest options].
#include <QApplication>
#include <QtTest>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>

#include "views/application_look.h"

int RunBootTest(int argc, char** argv);
int RunViewFrameTest(int argc, char** argv);
int RunViewsTest(int argc, char** argv);
int RunDialogsTest(int argc, char** argv);
int RunReadOnlyTest(int argc, char** argv);
int RunCommonSettingTest(int argc, char** argv);
int RunChannelSettingsTest(int argc, char** argv);
int RunDeviceWriterTest(int argc, char** argv);
int RunStopRequestTest(int argc, char** argv);
int RunTrendTest(int argc, char** argv);
int RunPublishTest(int argc, char** argv);

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  app.setQuitOnLastWindowClosed(false);
  tavelin::UseProgramLook(app);
  const std::map<std::string, int (*)(int, char**)> suites = {{"boot", RunBootTest},
                                                              {"frame", RunViewFrameTest},
                                                              {"views", RunViewsTest},
                                                              {"dialogs", RunDialogsTest},
                                                              {"readonly", RunReadOnlyTest},
                                                              {"common", RunCommonSettingTest},
                                                              {"channels", RunChannelSettingsTest},
                                                              {"writer", RunDeviceWriterTest},
                                                              {"stop", RunStopRequestTest},
                                                              {"trend", RunTrendTest},
                                                              {"publish", RunPublishTest}};
  if (argc < 2) {
    int failures = 0;
    for (const auto& [name, run] : suites) failures += run(1, argv);
    return failures;
  }
  if (suites.count(argv[1]) == 0) {
    std::fprintf(stderr, "no suite named %s\n", argv[1]);
    return 2;
  }
  const auto run = suites.at(argv[1]);
  argv[1] = argv[0];
  return run(argc - 1, argv + 1);
}
