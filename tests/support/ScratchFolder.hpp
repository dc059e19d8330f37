#pragma once
// A fresh folder under the system's temporary folder, removed with everything in it when the
// object goes, for tests that need files of their own without a fixture.

#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <system_error>

namespace xylem::test {

class CyScratchFolder {
 public:
  CyScratchFolder() {
    std::random_device seed;
    Path_ = std::filesystem::temp_directory_path() / ("xylem-scratch-" + std::to_string(seed()));
    std::filesystem::create_directories(Path_);
  }
  ~CyScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(Path_, ignored);
  }
  CyScratchFolder(const CyScratchFolder&) = delete;
  CyScratchFolder& operator=(const CyScratchFolder&) = delete;

  // Writes Text to the file Name in the folder; returns its path.
  std::string Write(const std::string& Name, const std::string& Text) const {
    std::ofstream(Path_ / Name, std::ios::binary) << Text;
    return (Path_ / Name).string();
  }
  const std::filesystem::path& getPath() const { return Path_; }

 private:
  std::filesystem::path Path_;
};

}  // namespace xylem::test
