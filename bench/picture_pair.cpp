// One pair of pictures from start to exit, for the comparison with other programs that do the same.
//
//   picture_pair make A B               writes a pair of 1920 x 1080 pixels
//   picture_pair compare A B DIFFERENCE  writes the difference file and prints the mean difference, 0 to 1

#include <cstdio>
#include <string_view>

#include "bench/pair.h"

int main(int count, char** arguments) {
  const std::string_view task = count > 1 ? arguments[1] : "";
  if (task == "make" && count == 4) {
    bench::grainyPicture(1).saveTiff(arguments[2], host::TiffCompression::None);
    bench::grainyPicture(2).saveTiff(arguments[3], host::TiffCompression::None);
    return 0;
  }
  if (task == "compare" && count == 5) {
    host::Bitmap current;
    current.read(arguments[2]);
    std::printf("%.6f\n", bench::compareWithFile(current, arguments[3], arguments[4]));
    return 0;
  }
  std::fprintf(stderr, "picture_pair make A B | compare A B DIFFERENCE\n");
  return 2;
}
