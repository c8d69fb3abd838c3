// SPDX-License-Identifier: MIT
#include "world/simulator/inproc.h"

#include "platform/system.h"
#include "simconnect/transport.h"
#include "world/simulator/control.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstring>
#include <limits>
#include <thread>

namespace kes::world {

namespace {

struct Inproc {
    std::mutex mutex; ///< guards all below but the thread
    std::unique_ptr<Simulator> simulator;
    std::uint64_t run = 0; ///< tells the clients of one model from those of the next
    Hooks hooks;
    bool stopThread = false;
    std::condition_variable wake;

    std::mutex threadMutex; ///< serialises starting and stopping of the thread
    std::thread thread;

    ~Inproc() { join(); }

    void join() {
        {
            const std::lock_guard lock(mutex);
            stopThread = true;
        }
        wake.notify_all();
        if (thread.joinable())
            thread.join();
    }
};

Inproc& inproc() {
    static Inproc instance;
    return instance;
}

std::int64_t toNs(double seconds) {
    return std::llround(seconds * 1e9);
}

void runModel(Inproc& world, double speed) {
    platform::nameThread("Simulator");
    using Clock = std::chrono::steady_clock;
    constexpr auto nap = std::chrono::milliseconds(1);
    constexpr double mostSeconds = 2.0; // of real time; a machine that slept does not live through it all afterwards
    auto last = Clock::now();
    std::unique_lock lock(world.mutex);
    while (!world.stopThread) {
        world.wake.wait_for(lock, nap);
        const auto now = Clock::now();
        std::int64_t left = toNs(std::min(std::chrono::duration<double>(now - last).count(), mostSeconds) * speed);
        last = now;
        while (left > 0 && world.simulator && !world.stopThread) {
            // Frame by frame, with the lock open in between, so that clients answer within the frame they see.
            const std::int64_t frame = toNs(1.0 / world.simulator->framesPerSecond);
            const std::int64_t part = std::min(left, frame);
            advance(*world.simulator, part);
            left -= part;
            if (left > 0) {
                lock.unlock();
                std::this_thread::yield();
                lock.lock();
            }
        }
    }
}

/// One client's end: packets go straight into its session, messages are copied out of it.
class InprocTransport final : public simconnect::Transport {
public:
    InprocTransport(std::uint64_t run, std::uint32_t sessionId) : run_(run), sessionId_(sessionId) {}

    ~InprocTransport() override {
        const std::lock_guard lock(inproc().mutex);
        if (session())
            closeSession(*inproc().simulator, sessionId_);
    }

    bool write(std::span<const std::byte> packet) override {
        const std::lock_guard lock(inproc().mutex);
        Session* mine = session();
        if (!mine || mine->finished || mine->dropped)
            return false;
        return receive(*inproc().simulator, *mine, packet);
    }

    std::ptrdiff_t read(std::span<std::byte> buffer) override {
        const std::lock_guard lock(inproc().mutex);
        Session* mine = session();
        if (!mine || mine->dropped)
            return -1;
        const std::span<const std::byte> waiting = mine->out.waiting();
        const std::size_t count = std::min(waiting.size(), buffer.size());
        if (count == 0)
            return mine->finished && waiting.empty() ? -1 : 0;
        std::memcpy(buffer.data(), waiting.data(), count);
        mine->out.take(count);
        return static_cast<std::ptrdiff_t>(count);
    }

private:
    Session* session() const {
        Inproc& world = inproc();
        return world.simulator && world.run == run_ ? findSession(*world.simulator, sessionId_) : nullptr;
    }

    std::uint64_t run_;
    std::uint32_t sessionId_;
};

} // namespace

void inprocStart(const SimulatorOptions& options) {
    Inproc& world = inproc();
    const std::lock_guard lock(world.mutex);
    world.simulator = std::make_unique<Simulator>();
    ++world.run;
    start(*world.simulator, options);
    world.simulator->hooks = world.hooks;
}

void inprocStep(double seconds) {
    const std::lock_guard lock(inproc().mutex);
    if (inproc().simulator)
        advance(*inproc().simulator, toNs(seconds));
}

void inprocRunThread(double speed) {
    Inproc& world = inproc();
    const std::lock_guard turn(world.threadMutex);
    world.join();
    {
        const std::lock_guard lock(world.mutex);
        world.stopThread = false;
    }
    world.thread = std::thread([&world, speed] { runModel(world, speed); });
}

void inprocStopThread() {
    const std::lock_guard turn(inproc().threadMutex);
    inproc().join();
}

void inprocStop() {
    inprocStopThread();
    const std::lock_guard lock(inproc().mutex);
    inproc().simulator.reset();
    inproc().hooks = {};
}

bool inprocRunning() {
    const std::lock_guard lock(inproc().mutex);
    return inproc().simulator && !inproc().simulator->quitting;
}

std::string inprocCommand(std::string_view line) {
    const std::lock_guard lock(inproc().mutex);
    return inproc().simulator ? runCommand(*inproc().simulator, line) : "error: not started";
}

std::optional<SimObject> inprocObject(std::uint32_t id) {
    const std::lock_guard lock(inproc().mutex);
    const SimObject* object = inproc().simulator ? findObject(*inproc().simulator, id) : nullptr;
    return object ? std::optional(*object) : std::nullopt;
}

std::optional<SimObject> inprocObject(std::string_view tailNumber) {
    const std::lock_guard lock(inproc().mutex);
    const std::string_view cut = tailNumber.substr(0, simconnect::tailNumberChars);
    const SimObject* object = inproc().simulator ? findByTail(*inproc().simulator, cut) : nullptr;
    return object ? std::optional(*object) : std::nullopt;
}

std::vector<SimObject> inprocObjects() {
    const std::lock_guard lock(inproc().mutex);
    return inproc().simulator ? inproc().simulator->objects : std::vector<SimObject>{};
}

double inprocAboveGround(std::uint32_t id) {
    const std::lock_guard lock(inproc().mutex);
    const SimObject* object = inproc().simulator ? findObject(*inproc().simulator, id) : nullptr;
    return object ? object->alt - groundBelow(*inproc().simulator, *object) : std::numeric_limits<double>::quiet_NaN();
}

Counters inprocCounters() {
    const std::lock_guard lock(inproc().mutex);
    return inproc().simulator ? inproc().simulator->counters : Counters{};
}

std::size_t inprocWaiting() {
    const std::lock_guard lock(inproc().mutex);
    std::size_t bytes = 0;
    if (inproc().simulator)
        for (const auto& session : inproc().simulator->sessions)
            bytes += session->out.size();
    return bytes;
}

void inprocSetHooks(Hooks hooks) {
    const std::lock_guard lock(inproc().mutex);
    inproc().hooks = std::move(hooks);
    if (inproc().simulator)
        inproc().simulator->hooks = inproc().hooks;
}

LockedSimulator worldSimulator() {
    std::unique_lock lock(inproc().mutex);
    Simulator* simulator = inproc().simulator.get();
    return {std::move(lock), simulator};
}

} // namespace kes::world

namespace kes::simconnect {

std::unique_ptr<Transport> openTransport(DWORD configIndex, HRESULT& result, OpenTry& attempt) {
    // There is one simulator and it needs no configuration; other sections would name other machines.
    result = configIndex == 0 ? E_FAIL : E_INVALIDARG;
    if (configIndex != 0)
        return nullptr;
    attempt.address = "this process";
    world::Inproc& world = world::inproc();
    const std::lock_guard lock(world.mutex);
    const world::Session* session = world.simulator ? world::openSession(*world.simulator) : nullptr;
    if (!session)
        return nullptr;
    attempt.reached = true;
    result = S_OK;
    return std::make_unique<world::InprocTransport>(world.run, session->id);
}

} // namespace kes::simconnect
