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
std::deque<AppMessage>& pumpQueue = *new std::deque<AppMessage>;
int quitCode = 0;
} // namespace

void postMessage(AppMessage message) {
    {
        const std::lock_guard lock(pumpMutex);
        pumpQueue.push_back(message);
    }
    pumpSignal.notify_one();
}

void postQuit(int code) {
    {
        const std::lock_guard lock(pumpMutex);
        quitCode = code;
        pumpQueue.push_back(AppMessage::quit);
    }
    pumpSignal.notify_one();
}

int runMessagePump(void (*handle)(AppMessage)) {
    for (;;) {
        AppMessage message{};
        {
            std::unique_lock lock(pumpMutex);
            pumpSignal.wait(lock, [] { return !pumpQueue.empty(); });
            message = pumpQueue.front();
            pumpQueue.pop_front();
            if (message == AppMessage::quit)
                return quitCode;
        }
        handle(message);
    }
}

} // namespace kes
