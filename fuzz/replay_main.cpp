// Runs a fuzz target over every file of the folders (or the files) given on
// its command line, so that seed corpora also run as ordinary tests, with any
// compiler and without libFuzzer.
#include <dirent.h>
#include <stdint.h>
#include <stdio.h>
#include <sys/stat.h>

#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

bool ReadWhole(const std::string& path, std::vector<uint8_t>& bytes) {
  FILE* file = fopen(path.c_str(), "rb");
  if (file == nullptr) return false;
  bytes.clear();
  uint8_t chunk[65536];
  size_t n;
  while ((n = fread(chunk, 1, sizeof chunk, file)) > 0) bytes.insert(bytes.end(), chunk, chunk + n);
  fclose(file);
  return true;
}

int RunPath(const std::string& path, int& count) {
  struct stat info;
  if (stat(path.c_str(), &info) != 0) {
    fprintf(stderr, "replay: cannot read %s\n", path.c_str());
    return 1;
  }
  if (S_ISDIR(info.st_mode)) {
    DIR* dir = opendir(path.c_str());
    if (dir == nullptr) return 1;
    int failures = 0;
    while (dirent* entry = readdir(dir)) {
      std::string name = entry->d_name;
      if (name == "." || name == "..") continue;
      failures += RunPath(path + "/" + name, count);
    }
    closedir(dir);
    return failures;
  }
  std::vector<uint8_t> bytes;
  if (!ReadWhole(path, bytes)) return 1;
  LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
  ++count;
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  int count = 0;
  int failures = 0;
  for (int i = 1; i < argc; ++i) failures += RunPath(argv[i], count);
  printf("replayed %d inputs\n", count);
  return failures == 0 && count > 0 ? 0 : 1;
}
