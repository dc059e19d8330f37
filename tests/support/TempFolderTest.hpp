#pragma once
// A test fixture with a fresh folder per test (removed afterwards) and whole-file helpers, for
// the tests that write, replace and refuse real files.

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace xylem::test {

class CyTempFolderTest : public ::testing::Test {
 protected:
  void SetUp() override {
    Folder_ = std::filesystem::temp_directory_path() /
              ("xylem_" + std::to_string(getpid()) + "_" +
               ::testing::UnitTest::GetInstance()->current_test_info()->test_suite_name() + "_" +
               ::testing::UnitTest::GetInstance()->current_test_info()->name());
    std::filesystem::create_directories(Folder_);
  }
  void TearDown() override { std::filesystem::remove_all(Folder_); }
  std::string path(const std::string& Name) const { return (Folder_ / Name).string(); }
  static void write(const std::string& Path, const std::string& Bytes) {
    std::ofstream(Path, std::ios::binary) << Bytes;
  }
  static std::string read(const std::string& Path) {
    std::ifstream in(Path, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
  }
  std::filesystem::path Folder_;
};

}  // namespace xylem::test
