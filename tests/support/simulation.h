#pragma once
#include <filesystem>
#include <string>
#include <vector>

#include "devices/device_libraries.h"

namespace tavelin::test {

// A fresh folder, removed with its contents.
class TempFolder {
 public:
  TempFolder();
  ~TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;
  const std::filesystem::path& Path() const { return path_; }
  std::filesystem::path Write(const std::string& name, const std::string& text) const;

 private:
  std::filesystem::path path_;
};

// A simulation file in a temp folder, named by KVR_SIMULATION while this lives.
class Simulation {
 public:
  explicit Simulation(const std::string& text);
  ~Simulation();
  Simulation(const Simulation&) = delete;
  Simulation& operator=(const Simulation&) = delete;

  // Rewrites the file: what a later search finds.
  void Rewrite(const std::string& text) const;
  // A script file beside the simulation file.
  void Script(const std::string& name, const std::vector<std::string>& steps) const;
  std::string FilePath() const { return file_.string(); }

 private:
  TempFolder folder_;
  std::filesystem::path file_;
};

// The device libraries of the build, opened once.
DeviceLibraries& BuiltLibraries();

// What the built library says of the device on `channel`: its backend and
// place, and a mapped device's state; empty for none.
std::string Described(int32_t channel, bool probe = false);

}  // namespace tavelin::test
