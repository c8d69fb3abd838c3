// SPDX-License-Identifier: MIT
// kestrelune-pack: builds what an update server holds out of plain sources.
#include "tools/pack/command.h"

#include <cstdio>

int main(int argc, char** argv) {
    std::string out, error;
    const int code = kes::pack::runCommand({argv + (argc > 0 ? 1 : 0), argv + argc}, out, error);
    std::fputs(out.c_str(), stdout);
    std::fputs(error.c_str(), stderr);
    return code;
}
