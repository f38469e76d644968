/// Runs one of the tests that are linked into this program: `PROGRAM TEST [Qt Test's arguments …]`. One
/// program holds all tests of a folder, because linking each on its own took longer than compiling them;
/// CTest still runs each in a process of its own.

#include <cstdio>
#include <cstring>
#include <malloc.h>

// What QUILLO_TEST (TestMain.h) makes; a test may also write it itself.
#define QUILLO_TEST(name) int name##Main(int argc, char** argv);
#include QUILLO_TEST_LIST
#undef QUILLO_TEST

namespace {

struct Test {
    const char* name;
    int (*run)(int, char**);
};

#define QUILLO_TEST(name) {#name, name##Main},
constexpr Test tests[] = {
#include QUILLO_TEST_LIST
};
#undef QUILLO_TEST

} // namespace

int main(int argc, char** argv) {
    constexpr int mappedFrom = 128 * 1024; // as in the program: what is large is moved by its pages
    mallopt(M_MMAP_THRESHOLD, mappedFrom);
    for (const auto& test : tests) {
        if (argc > 1 && std::strcmp(argv[1], test.name) == 0) {
            return test.run(argc - 1, argv + 1);
        }
    }
    std::fprintf(stderr, "usage: %s TEST [ARGUMENT …], where TEST is one of\n", argv[0]);
    for (const auto& test : tests) {
        std::fprintf(stderr, "  %s\n", test.name);
    }
    return 2;
}
