// The start-up check of the device libraries, over folders of real and
// stand-in libraries.
#include "devices/library_version_check.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/program_folder.h"

namespace tavelin {
namespace {

using test::ProgramFolder;

struct Outcome {
  int32_t result;
  std::string message;
};

Outcome Check(const ProgramFolder& folder) {
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
    const char* file;
    const char* oldOne;  // the stand-in, or none when the library is missing
  } cases[] = {{kKvr100File, nullptr},
               {kKvr100File, "kvr100_old"},
               {kKvrUsbIoFile, nullptr},
               {kKvrUsbIoFile, "kvr_usb_io_old"},
               {kKvrUsbProbeFile, "kvr_usb_probe_old"}};
  for (const Case& c : cases) {
    const auto outcome = c.oldOne ? Check(ProgramFolder({{c.file, c.oldOne}}, {}))
                                  : Check(ProgramFolder({}, {c.file}));
    const std::string file = c.file;
    EXPECT_EQ(outcome.result, -1) << file;
    EXPECT_EQ(outcome.message,
              file + (c.oldOne ? " のバージョンが異なります。\n" : " が見つかりません。\n") + file +
                  " は同梱のものを使用してください。\nアプリケーションを終了します。");
  }
}

// A version padded with blanks and NULs still matches; a library that
// cannot be called (the probe library missing, or one without an entry
// point) ends the start silently.
TEST(CheckLibraryVersions, APaddedVersionMatchesAndALibraryThatCannotBeCalledEndsSilently) {
  EXPECT_EQ(Check(ProgramFolder({{kKvr100File, "kvr100_padded"}}, {})).result, 1);
  for (const auto& folder : {ProgramFolder({}, {kKvrUsbProbeFile}),
                             ProgramFolder({{kKvr100File, "kvr100_no_average"}}, {})}) {
    const auto outcome = Check(folder);
    EXPECT_EQ(outcome.result, 0);
    EXPECT_EQ(outcome.message, "");
  }
}

}  // namespace
}  // namespace tavelin
