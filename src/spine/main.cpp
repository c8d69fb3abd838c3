#include "spine/process.h"

#include <cstdio>
#include <string_view>

int main(int argc, char** argv) {
    bool window = true;
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (argument == "--no-window") {
            window = false;
            continue;
        }
        const bool asked = argument == "--help";
        std::fputs("usage: kestrelune [--no-window]\n"
                   "Shows real air traffic in the flight simulator. Runs in its own folder; settings are made in its\n"
                   "window. --no-window: status lines on the terminal instead.\n",
                   asked ? stdout : stderr);
        return asked ? 0 : 2;
    }
    return kes::runProcess(window);
}
