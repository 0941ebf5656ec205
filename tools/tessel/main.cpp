// tessel: the command-line host of libtessel.
#include <cstdio>
#include <cstring>

#include "tessel.h"

int main(int argc, char **argv) {
    if (argc > 1 && (std::strcmp(argv[1], "--version") == 0 || std::strcmp(argv[1], "version") == 0)) {
        std::printf("tessel %s\n", TESSEL_TOOL_VERSION);
        return 0;
    }
    std::fprintf(stderr, "usage: tessel --version\n");
    return 2;
}
