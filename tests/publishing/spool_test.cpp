// The spool: messages in order, on disk, what the broker has counted off.
#include "publishing/spool.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "support/simulation.h"

namespace tavelin {
namespace {

namespace fs = std::filesystem;

std::vector<std::string> Payloads(Spool& spool, uint64_t from = 0) {
  std::vector<std::string> payloads;
  SpooledMessage message;
  for (uint64_t at = from; spool.Read(at, message); at = message.next) {
    payloads.emplace_back(message.payload);
  }
  return payloads;
}

TEST(Spool, MessagesComeBackInOrderFromMemoryAndFileAndOutliveTheirWriter) {
  test::TempFolder folder;
  std::string why;
  auto spool = Spool::Create(folder.Path().string(), "run1", why);
  EXPECT_TRUE(why.empty()) << why;
  spool->Append(true, "lab/b/run", "{\"a\":1}");
  spool->Append(false, "lab/b/rows", "r1");
  EXPECT_EQ(spool->Write(), "");
  spool->Append(false, "lab/b/rows", "r2");  // still in memory
  EXPECT_EQ(Payloads(*spool), (std::vector<std::string>{"{\"a\":1}", "r1", "r2"}));
  SpooledMessage first;
  ASSERT_TRUE(spool->Read(0, first));
  EXPECT_TRUE(first.retain);
  EXPECT_EQ(first.topic, "lab/b/run");
  EXPECT_FALSE(Spool::OpenLeft(spool->Path())) << "a live run's spool is its own";
  spool->Acknowledge(first.next, 1);
  const std::string path = spool->Path();
  spool.reset();  // written, synced and counted off on the way out

  // A crash cut the last line short: it is no message.
  std::ofstream(path, std::ios::app) << "0lab/b/rows\tcut";
  auto left = Spool::OpenLeft(path);
  ASSERT_TRUE(left);
  EXPECT_EQ(left->Lines(), 3);
  EXPECT_EQ(left->AckedLines(), 1);
  EXPECT_EQ(Payloads(*left, left->Acked()), (std::vector<std::string>{"r1", "r2"}));
  left->Acknowledge(left->End(), 3);
  EXPECT_TRUE(left->AllAcked());
  left->Remove();
  EXPECT_TRUE(fs::is_empty(folder.Path()));
}

TEST(Spool, WithoutAFolderMessagesWaitInMemoryUpToItsBound) {
  test::TempFolder folder;
  std::string why;
  auto spool = Spool::Create((folder.Path() / "no" / "such").string(), "run", why);
  EXPECT_NE(why.find("no/such"), std::string::npos) << why;
  const std::string row(1 << 20, 'x');
  int taken = 0;
  while (spool->Append(false, "t", row)) ++taken;
  EXPECT_EQ(taken, static_cast<int>(Spool::kMemoryLimit >> 20) - 1);
  EXPECT_EQ(Payloads(*spool).size(), static_cast<std::size_t>(taken));
  // What the broker has taken leaves memory: room again.
  SpooledMessage message;
  ASSERT_TRUE(spool->Read(0, message));
  spool->Acknowledge(message.next, 1);
  EXPECT_TRUE(spool->Append(false, "t", row));
}

}  // namespace
}  // namespace tavelin
