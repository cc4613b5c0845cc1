#pragma once
// Result folders for tests, made by hand.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "host/report/resulttable.h"
#include "host/services/image.h"

namespace host::test {

namespace fs = std::filesystem;

/// A folder that goes with its test.
class TempFolder {
 public:
  TempFolder() {
    std::string name = (fs::temp_directory_path() / "report-XXXXXX").string();
    if (!mkdtemp(name.data())) throw std::runtime_error("no temporary folder");
    path_ = fs::canonical(name);
  }
  ~TempFolder() { fs::remove_all(path_); }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const fs::path& path() const { return path_; }
  fs::path operator/(const std::string& name) const { return path_ / name; }

 private:
  fs::path path_;
};

inline void writeFile(const fs::path& file, const std::string& bytes) {
  fs::create_directories(file.parent_path());
  std::ofstream(file, std::ios::binary) << bytes;
}

inline std::string readFile(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

inline std::string column(std::string text) {
  if (text.size() < 10) text.resize(10, ' ');
  return text;
}

inline const std::string kHeader = "16.038    Status    Tnew      Told      Trel      Diff      Name";

/// A row of a compared scene, its fields as text.
inline std::string okRow(int number, const std::string& timeNew, const std::string& timeOld,
                         const std::string& change, const std::string& difference, const std::string& path) {
  return column(std::to_string(number)) + column("OK") + column(timeNew) + column(timeOld) + column(change) +
         column(difference) + path;
}

/// A row of any other status.
inline std::string row(int number, const std::string& status, const std::string& timeNew,
                       const std::string& path) {
  return column(std::to_string(number)) + column(status) + column(timeNew) + std::string(30, ' ') + path;
}

inline std::string table(const std::vector<std::string>& rows, const std::string& lineEnd = "\n") {
  std::string text = kHeader + lineEnd;
  for (const std::string& line : rows) text += line + lineEnd;
  return text;
}

inline Image flatImage(int width, int height, uint8_t value) {
  return {width, height, 3, std::vector<uint8_t>(static_cast<std::size_t>(width * height * 3), value)};
}

/// Where a channel of a pixel lies in `pixels`.
inline std::size_t byteAt(const Image& image, int x, int y, int channel) {
  const int pixel = y * image.width + x;
  return static_cast<std::size_t>(pixel) * 3 + static_cast<std::size_t>(channel);
}

inline Image withByte(Image image, int x, int y, int channel, uint8_t value) {
  image.pixels[byteAt(image, x, y, channel)] = value;
  return image;
}

inline void saveImage(const fs::path& file, const Image& image) {
  writeTiff(file, image, TiffCompression::Lzw);
}

}  // namespace host::test
