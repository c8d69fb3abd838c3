// SPDX-License-Identifier: MIT
#include "window/message_pump.h"

#include <condition_variable>
#include <deque>
#include <mutex>

namespace kes {

namespace {
// None of the three is ever destroyed: the thread that waits for signals of the user goes on to the very end of the
// process.
std::mutex& pumpMutex = *new std::mutex;
std::condition_variable& pumpSignal = *new std::condition_variable;
std::deque<void (*)()>& pumpQueue = *new std::deque<void (*)()>; ///< null = quit
int quitCode = 0;

void queue(void (*work)()) {
    pumpQueue.push_back(work);
    pumpSignal.notify_one();
}
} // namespace

void postMessage(void (*work)()) {
    const std::lock_guard lock(pumpMutex);
    queue(work);
}

void postQuit(int code) {
    const std::lock_guard lock(pumpMutex);
    quitCode = code;
    queue(nullptr);
}

int runMessagePump() {
    for (;;) {
        void (*work)() = nullptr;
        {
            std::unique_lock lock(pumpMutex);
            pumpSignal.wait(lock, [] { return !pumpQueue.empty(); });
            work = pumpQueue.front();
            pumpQueue.pop_front();
            if (work == nullptr)
                return quitCode;
        }
        work();
    }
}

} // namespace kes
