// The start-up check of the device libraries, over folders of real and
// stand-in libraries.
#include "devices/library_version_check.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/simulation.h"

namespace tavelin {
namespace {

namespace fs = std::filesystem;

// A program folder holding the built libraries, some replaced by stand-ins
// and some left out.
class ProgramFolderWith {
 public:
  ProgramFolderWith(std::map<std::string, std::string> standIns, std::vector<std::string> missing) {
    for (const char* file : {kKvr100File, kKvrUsbIoFile, kKvrUsbProbeFile}) {
      if (std::find(missing.begin(), missing.end(), file) != missing.end()) continue;
      const auto standIn = standIns.find(file);
      const fs::path source = standIn == standIns.end()
                                  ? fs::path(TAVELIN_BIN_DIR) / file
                                  : fs::path(TAVELIN_FAKES_DIR) / standIn->second / file;
      fs::create_symlink(source, folder_.Path() / file);
    }
  }
  std::string Path() const { return folder_.Path().string(); }

 private:
  test::TempFolder folder_;
};

struct Outcome {
  int32_t result;
  std::string message;
};

Outcome Check(const ProgramFolderWith& folder) {
  ELM327_Info device;
  std::string shown;
  const auto check = CheckLibraryVersions(device, folder.Path(), [&](const std::string& text) {
    EXPECT_TRUE(shown.empty()) << "a second message";
    shown = text;
  });
  EXPECT_EQ(check.libraries.has_value(), check.result == 1);
  return {check.result, shown};
}

TEST(CheckLibraryVersions, NamesTheLibraryThatIsMissingOrOld) {
  struct Case {
    std::map<std::string, std::string> standIns;
    std::vector<std::string> missing;
    const char* message;
  } cases[] = {
      {{},
       {kKvr100File},
       "libkvr100.so が見つかりません。\nlibkvr100.so は同梱のものを使用してください。\n"
       "アプリケーションを終了します。"},
      {{{kKvr100File, "kvr100_old"}},
       {},
       "libkvr100.so のバージョンが異なります。\nlibkvr100.so は同梱のものを使用してください。\n"
       "アプリケーションを終了します。"},
      {{},
       {kKvrUsbIoFile},
       "libkvr_usb_io.so が見つかりません。\nlibkvr_usb_io.so は同梱のものを使用してください。\n"
       "アプリケーションを終了します。"},
      {{{kKvrUsbIoFile, "kvr_usb_io_old"}},
       {},
       "libkvr_usb_io.so のバージョンが異なります。\n"
       "libkvr_usb_io.so は同梱のものを使用してください。\nアプリケーションを終了します。"},
      {{{kKvrUsbProbeFile, "kvr_usb_probe_old"}},
       {},
       "libkvr_usb_probe.so のバージョンが異なります。\n"
       "libkvr_usb_probe.so は同梱のものを使用してください。\nアプリケーションを終了します。"},
  };
  for (const Case& c : cases) {
    const auto outcome = Check(ProgramFolderWith(c.standIns, c.missing));
    EXPECT_EQ(outcome.result, -1) << c.message;
    EXPECT_EQ(outcome.message, c.message);
  }
}

TEST(CheckLibraryVersions, AVersionPaddedWithBlanksAndNulsStillMatches) {
  EXPECT_EQ(Check(ProgramFolderWith({{kKvr100File, "kvr100_padded"}}, {})).result, 1);
}

TEST(CheckLibraryVersions, ALibraryThatCannotBeCalledEndsSilently) {
  for (const auto& folder : {ProgramFolderWith({}, {kKvrUsbProbeFile}),
                             ProgramFolderWith({{kKvr100File, "kvr100_no_average"}}, {})}) {
    const auto outcome = Check(folder);
    EXPECT_EQ(outcome.result, 0);
    EXPECT_EQ(outcome.message, "");
  }
}

}  // namespace
}  // namespace tavelin
