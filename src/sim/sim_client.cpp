// SPDX-License-Identifier: MIT
#include "sim/sim_client.h"

#include "core/errors.h"
#include "core/folders.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/run_state.h"
#include "core/version.h"
#include "core/window.h"
#include "platform/system.h"
#include "sim/ai_commands.h"
#include "sim/ai_objects.h"
#include "sim/from_simulator.h"
#include "sim/user_recognition.h"
#include "simconnect/open.h"

#include <cctype>
#include <chrono>
#include <cmath>
#include <cstring>
#include <fmt/format.h>
#include <thread>
#include <utility>

namespace kes {

using namespace simconnect;

std::atomic<HANDLE> simHandle{nullptr};
std::atomic<std::uint32_t> userObjectId{2};
std::atomic<int> simAnswerMs{answerMs};
std::chrono::milliseconds simAdviceAfter = std::chrono::seconds(20);

namespace {

constexpr double teleportNm = 10.0;
constexpr double fastestStanding = 2.0; ///< knots
constexpr int newFlightDelay = 45;
constexpr int requestErrorDelay = 9;
constexpr int framesPerRateSample = 30;

std::jthread simClientThread;

// The block of the last position reply. A lock of its own, never held with another, so that no copy is half old.
std::mutex userBlockMutex;
UserAircraft userBlock;
UserMoves userMoves; ///< under the same lock

// SimClient thread only.
int frameCount = 0;

/// A flight or the connection ends. What moves leaves no stand to be learned, and does not undo one that is noted.
void noteWhereUserStood() {
    const std::lock_guard lock(userBlockMutex);
    if (userBlock.known() && userBlock.groundSpeed <= fastestStanding)
        userMoves.stoodAt = userBlock;
}

void simGone() {
    log(fmt::format("{} Flight Simulator no longer connected, {} will stop ...", timeStamp(), programName));
    requestExit(ExitReason::simWasClosed, 0);
}

/// Sleeps in short pieces; false when the thread is to end.
bool sleepUnlessStopped(const std::stop_token& stop, int ms) {
    for (; ms > 0 && !stop.stop_requested() && !stopWanted(); ms -= 50)
        std::this_thread::sleep_for(std::chrono::milliseconds(std::min(ms, 50)));
    return !stop.stop_requested() && !stopWanted();
}

void closeConnection() {
    HANDLE handle = nullptr;
    {
        // Other threads send under simMutex only, so after this none of them holds the handle any more.
        const std::lock_guard lock(simMutex);
        handle = simHandle.exchange(nullptr);
    }
    if (handle != nullptr)
        log(failed(SimConnect_Close(handle)) ? "Closing SimConnect failed?!" : "SimConnect closed ok");
}

/// Dispatches until the thread is to stop or the connection has ended; the latter is true.
bool dispatchUntilEnd(const std::stop_token& stop) {
    platform::beginFineTimer();
    struct GiveBack {
        ~GiveBack() { platform::endFineTimer(); }
    } giveBack;
    while (!stop.stop_requested()) {
        if (failed(SimConnect_CallDispatch(simHandle, dispatch, nullptr)))
            return true;
        simulatorLog.tellLeftOut();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
}

std::string waitingForSim() {
    return fmt::format("Waiting for MSFS 20{} ...", par::MSFS_2020 ? "20" : "24");
}

/// Somebody who takes the connection and says nothing: since when, and what the user has been told of it.
struct Silence {
    std::chrono::steady_clock::time_point since;
    bool lasts = false;
    std::string told; ///< empty = nothing yet
};

/// After a try that failed. A simulator that loads is silent for a while; for ever is only what is none.
void noteSilence(Silence& silence, const OpenTry& attempt, std::chrono::steady_clock::time_point begin) {
    if (!attempt.reached) {
        silence = {};
        return;
    }
    if (!std::exchange(silence.lasts, true))
        silence.since = begin;
    if (std::chrono::steady_clock::now() - silence.since < std::chrono::milliseconds(simAnswerMs))
        return;
    const std::string text =
        fmt::format("{} ({}) takes the connection but does not answer: is the simulator still starting, is this the "
                    "port in its SimConnect.xml?",
                    attempt.address, attempt.file.empty() ? "no SimConnect.cfg" : "from " + attempt.file);
    // Shown again when the line has aged, logged once.
    if (const bool isNew = silence.told != text; isNew || statusText().empty())
        showStatus(text, isNew);
    silence.told = text;
}

/// A simulator that has been waited for in vain: once per wait the user is told where it was looked for.
struct VainWait {
    std::chrono::steady_clock::time_point since = std::chrono::steady_clock::now();
    bool told = false;
};

void noteVainTry(VainWait& wait, const OpenTry& attempt) {
    if (wait.told || attempt.reached || std::chrono::steady_clock::now() - wait.since < simAdviceAfter)
        return;
    wait.told = true;
    showStatus(
        waitingForSim(), false,
        fmt::format("Nobody listens at {} ({}). {}{}Is the simulator running, and does its SimConnect.xml have a "
                    "listener of protocol IPv4 for this port? Manual, chapter 3.",
                    attempt.address.empty() ? "the address of SimConnect.cfg" : attempt.address,
                    attempt.file.empty() ? "no SimConnect.cfg names another address" : "from " + attempt.file,
                    attempt.doubt, attempt.doubt.empty() ? "" : " "));
}

void connectAndDispatch(const std::stop_token& stop) {
    bool firstPass = true;
    bool connectedBefore = false;
    Silence silence;
    VainWait vain;
    while (!stopWanted() && !stop.stop_requested()) {
        if (firstPass) {
            showStatus(waitingForSim(), true);
            repaint();
            firstPass = false;
        }
        HANDLE handle = nullptr;
        OpenTry attempt;
        attempt.timeoutMs = simAnswerMs;
        attempt.giveUp = [&stop] { return stop.stop_requested() || stopWanted(); };
        const auto begin = std::chrono::steady_clock::now();
        if (failed(openSimulator(handle, std::string(programName).c_str(), 0, attempt))) {
            if (!attempt.giveUp()) {
                noteSilence(silence, attempt, begin);
                noteVainTry(vain, attempt);
            }
            sleepUnlessStopped(stop, 1000);
            continue;
        }
        silence = {};
        if (connectedBefore) {
            // The simulator is a new one: nothing that this run knows of its objects holds any more.
            SimConnect_Close(handle);
            logUnlessClosing(fmt::format("{} Flight Simulator is back", timeStamp()));
            requestExit(ExitReason::simConnectError, requestErrorDelay);
            return;
        }
        simHandle = handle;
        if (!defineAll(handle))
            logWarning("SimConnect definitions fail");
        if (!dispatchUntilEnd(stop))
            return;
        // The stream has ended. Requests fail from here on, so the main tick has to stand still until a simulator is
        // back.
        simRunning = false;
        readouts.simLight = false;
        connectedBefore = true;
        logUnlessClosing(fmt::format("{} SimConnect connection has ended", timeStamp()));
        showStatus(waitingForSim(), true);
        vain = {};
        repaint();
        closeConnection();
    }
}

void onOpen(const RecvOpen& open) {
    std::string name;
    for (char c :
         std::string_view(open.szApplicationName, strnlen(open.szApplicationName, sizeof open.szApplicationName))) {
        if (std::isalnum(static_cast<unsigned char>(c)) != 0 || std::isspace(static_cast<unsigned char>(c)) != 0)
            name.push_back(c);
    }
    if (name.empty()) {
        simulatorLog.write("! Simulator name empty?");
        return;
    }
    const bool is2020 = name == "KittyHawk";
    const bool is2024 = name == "SunRise";
    if (!is2020 && !is2024)
        throw nwk::UserErrorException(
            77, fmt::format("\"{}\" not being MSFS 2020 or MSFS 2024 connects ... ? ", kes::quoted(name)));
    if (is2020 != par::MSFS_2020.value)
        throw nwk::UserErrorException(
            71,
            fmt::format("MSFS 20{} is running ..., switch Sim or toggle the Install path checkbox of {}",
                        is2020 ? "20" : "24", programName),
            fmt::format("{} is set to MSFS 20{}. Without a window: set MSFS_2020 to \"{}\" in {}.", programName,
                        is2020 ? "24" : "20", is2020 ? "true" : "false", platform::pathText(parametersFile())));
    const std::string display =
        is2024 ? "MSFS 2024"
               : fmt::format("MSFS 2020 ({}.{}.{}.{})", DWORD{open.dwApplicationVersionMajor},
                             DWORD{open.dwApplicationVersionMinor}, DWORD{open.dwApplicationBuildMajor},
                             DWORD{open.dwApplicationBuildMinor});
    simulatorLog.write(fmt::format("{} connected", display));
    setReadout(Readout::simName, display);
    readouts.simLight = true;
    clearStatus();
    repaint();
}

void onEvent(const RecvEvent& e) {
    if (e.uEventID == sysevent::sim) {
        simRunning = e.dwData == 1;
        repaint();
    } else if (e.uEventID == sysevent::flightLoaded) {
        simulatorLog.write("Simconnect: flight loaded event");
        noteWhereUserStood();
        requestExit(ExitReason::newFlight, newFlightDelay);
    }
}

void onFileName() {
    simulatorLog.write("SimConnect: New file event");
    noteWhereUserStood();
    requestExit(ExitReason::newFlight, newFlightDelay);
}

void onAddRemove(const RecvEventObjectAddRemove& e) {
    if (e.eObjType != static_cast<DWORD>(SimObjectType::aircraft))
        return;
    if (e.uEventID == sysevent::objectAdded)
        noteObjectAdded(e.dwData);
    else if (e.uEventID == sysevent::objectRemoved)
        noteObjectRemoved(e.dwData);
}

void onFrame(const RecvEventFrame& frame) {
    flushCommands();
    if (++frameCount >= framesPerRateSample) {
        frameCount = 0;
        if (std::isfinite(frame.fFrameRate))
            readouts.simFrameRate = frame.fFrameRate;
    }
}

void onUserPosition(const RecvSimObjectData& message) {
    UserAircraft now;
    if (dataSizeOf(message) < sizeof now)
        return;
    std::memcpy(static_cast<void*>(&now), dataOf(message), sizeof now);
    if (!isPlausible(now)) {
        simulatorLog.write("! Position of your aircraft makes no sense, ignored");
        return;
    }
    if (now.alt < 0)
        now.alt = 0;
    UserAircraft last;
    {
        const std::lock_guard lock(userBlockMutex);
        last = userBlock;
    }
    // Between two flights the simulator reports a point near 0, 0: the user has not flown there.
    if (last.known() && now.known() && distanceNm(last.position(), now.position()) > teleportNm) {
        simulatorLog.write("Teleport");
        requestExit(ExitReason::newFlight, newFlightDelay);
    }
    {
        const std::lock_guard lock(userBlockMutex);
        userBlock = now;
        userMoves.seenAt = now.position();
    }
    if (rtProfEdition) {
        if (const auto epoch = epochOf(now.zuluYear, now.zuluDay, now.zuluTime))
            simEpoch = *epoch;
        else
            simulatorLog.write(fmt::format("! Simulator time of second {}, day {}, year {} makes no sense, ignored",
                                           now.zuluTime, now.zuluDay, now.zuluYear));
    }
    userObjectId = message.dwObjectID;
}

bool userPositionKnown() {
    const std::lock_guard lock(userBlockMutex);
    return userBlock.known();
}

void onObjectData(const RecvSimObjectData& message) {
    switch (message.dwRequestID) {
    case req::staticData:
        onStaticData(message);
        break;
    case req::joinLate:
        onObjectDataByType(message);
        break;
    case req::title:
        onUserTitle(textOf(message, 0, dataSizeOf(message)));
        break;
    case req::model:
        onUserModel(textOf(message, 0, 32));
        break;
    case req::onGround: {
        std::int64_t onGround = 0;
        if (dataSizeOf(message) >= sizeof onGround && userPositionKnown()) {
            std::memcpy(&onGround, dataOf(message), sizeof onGround);
            userOnGround = onGround != 0;
            firstReplySeen = true;
        }
        secondDue = true;
        break;
    }
    case req::userPosition:
        onUserPosition(message);
        break;
    default:
        break;
    }
}

void onException(const RecvException& e) {
    switch (static_cast<Exception>(e.dwException)) {
    case Exception::unrecognizedId:
        if (userPositionKnown() && !stopWanted())
            simulatorLog.writeWarning("SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID");
        break;
    case Exception::versionMismatch:
        throw nwk::UserErrorException(95, fmt::format("Simconnect Version Mismatch, dwindex: {} ", DWORD{e.dwIndex}));
    case Exception::tooManyObjects:
        showFromSimulator("SimConnect: too many objects (max 1000)", false);
        break;
    case Exception::invalidDataSize:
        simulatorLog.write("SIMCON EXCEP 19");
        break;
    case Exception::createObjectFailed:
        noteCreateRefused(e.dwSendID);
        break;
    case Exception::loadFlightplanFailed:
        simulatorLog.writeWarning("Simconnect exception: load flight plan failed");
        break;
    case Exception::operationInvalidForObjectType:
        simulatorLog.write("SIMCON EXCEP 24");
        break;
    default:
        simulatorLog.writeWarning(fmt::format("SIMCON EXCEP {}", DWORD{e.dwException}));
    }
}

} // namespace

// A message lies where it arrived, at any address. Its numbers are copied (`DWORD{...}`) before a format refers to
// them.
void dispatch(const Recv* message, DWORD, void*) {
    switch (static_cast<RecvId>(message->dwID)) {
    case RecvId::exception:
        onException(*static_cast<const RecvException*>(message));
        break;
    case RecvId::open:
        onOpen(*static_cast<const RecvOpen*>(message));
        break;
    case RecvId::quit:
        simRunning = false;
        break;
    case RecvId::event:
        onEvent(*static_cast<const RecvEvent*>(message));
        break;
    case RecvId::eventObjectAddRemove:
        onAddRemove(*static_cast<const RecvEventObjectAddRemove*>(message));
        break;
    case RecvId::eventFilename:
        onFileName();
        break;
    case RecvId::eventFrame:
        onFrame(*static_cast<const RecvEventFrame*>(message));
        break;
    case RecvId::simObjectData:
        onObjectData(*static_cast<const RecvSimObjectData*>(message));
        break;
    case RecvId::simObjectDataByType:
        onObjectDataByType(*static_cast<const RecvSimObjectData*>(message));
        break;
    case RecvId::assignedObjectId:
    case RecvId::clientData:
    case RecvId::eventEx1:
        break;
    default:
        simulatorLog.write(fmt::format("! Unknown Dispatch dwID {}", DWORD{message->dwID}));
    }
}

void simThread(std::stop_token stop) {
    platform::nameThread("SimClient");
    try {
        connectAndDispatch(stop);
    } catch (const nwk::UserErrorException& e) {
        showError(e.what(), e.advice);
    } catch (const std::exception& e) {
        showError(e.what());
        simRunning = false;
        simGone();
    } catch (...) {
        showError(fmt::format("Exception in {}", "SimClient"));
        simRunning = false;
        simGone();
    }
    noteWhereUserStood();
    readouts.simLight = false;
    repaint();
    closeConnection();
    simulatorLog.finish();
}

void startSimClient() {
    requestSimClientStop();
    joinSimClient();
    simClientThread = std::jthread(simThread);
}

void requestSimClientStop() {
    simClientThread.request_stop();
}

void joinSimClient() {
    if (simClientThread.joinable())
        simClientThread.join();
}

UserAircraft readUserPosition() {
    bool requestFailed = false;
    if (!simRequestFailed) {
        const std::lock_guard lock(simMutex);
        requestFailed = failed(
            SimConnect_RequestDataOnSimObject(simHandle, req::userPosition, def::user, objectIdUser, Period::once));
    }
    if (requestFailed)
        requestError();
    const std::lock_guard lock(userBlockMutex);
    return userBlock;
}

UserMoves takeUserMoves() {
    const std::lock_guard lock(userBlockMutex);
    return std::exchange(userMoves, {});
}

bool requestOnGroundBeat() {
    {
        const std::lock_guard lock(simMutex);
        if (!failed(SimConnect_RequestDataOnSimObject(simHandle, req::onGround, def::onGround, objectIdUser,
                                                      Period::second)))
            return true;
    }
    log("SimConnect request ac gnd/air fails");
    requestError();
    return false;
}

void requestUserRecognition() {
    bool ok = true;
    {
        const std::lock_guard lock(simMutex);
        ok &= !failed(SimConnect_RequestDataOnSimObject(simHandle, req::title, def::title, objectIdUser, Period::once));
        ok &= !failed(SimConnect_RequestDataOnSimObject(simHandle, req::model, def::model, objectIdUser, Period::once));
    }
    if (!ok)
        requestError();
}

void requestError() {
    showStatus("SimConnect request error", true);
    simRequestFailed = true;
    requestExit(ExitReason::simConnectError, requestErrorDelay);
}

void resetSimClient() {
    simHandle = nullptr;
    userObjectId = 2;
    frameCount = 0;
    resetUserRecognition();
    const std::lock_guard lock(userBlockMutex);
    userBlock = {};
    userMoves = {};
}

} // namespace kes
