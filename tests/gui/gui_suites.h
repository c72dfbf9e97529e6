#pragma once
// The window test suites by name, each registered by its own file, for
// tavelin_gui_tests SUITE.
#include <QtTest>
#include <map>
#include <string>

namespace tavelin::test {

using SuiteRun = int (*)(int argc, char** argv);

inline std::map<std::string, SuiteRun>& GuiSuites() {
  static std::map<std::string, SuiteRun> suites;
  return suites;
}

template <typename Suite>
bool RegisterSuite(const char* name) {
  return GuiSuites()
      .emplace(name,
               [](int argc, char** argv) {
                 Suite suite;
                 return QTest::qExec(&suite, argc, argv);
               })
      .second;
}

}  // namespace tavelin::test
