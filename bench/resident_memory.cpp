// What loading the library and running one cycle adds to a program that had nothing of it: resident memory,
// split into what the dependencies take when they are loaded and what the library and its cycle add.
//
// resident_memory DEPENDENCY... LIBRARY, where LIBRARY exports run_one_cycle.

#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace {

double resident_mebibytes() {
  long total_pages = 0;
  long resident_pages = 0;
  std::ifstream("/proc/self/statm") >> total_pages >> resident_pages;
  return static_cast<double>(resident_pages * sysconf(_SC_PAGESIZE)) / (1024.0 * 1024.0);
}

void* load(const char* library) {
  void* handle = dlopen(library, RTLD_NOW);
  if (handle == nullptr) {
    std::fprintf(stderr, "resident_memory: %s\n", dlerror());
    std::exit(1);
  }
  return handle;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "Usage: resident_memory DEPENDENCY... LIBRARY\n");
    return 64;
  }
  const double bare = resident_mebibytes();
  for (int index = 1; index < argc - 1; ++index) {
    load(argv[index]);
  }
  const double with_dependencies = resident_mebibytes();
  const auto run_one_cycle = reinterpret_cast<void (*)()>(dlsym(load(argv[argc - 1]), "run_one_cycle"));
  run_one_cycle();
  const double with_library = resident_mebibytes();

  std::printf("bare_mb %.2f\ndependencies_mb %.2f\nours_mb %.2f\n", bare, with_dependencies - bare,
              with_library - with_dependencies);
  return 0;
}
