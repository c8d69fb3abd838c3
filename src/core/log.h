// SPDX-License-Identifier: MIT
// The two channels to the user: the file Log.txt and one line for status or error on the window.
// Every text is one complete line in UTF-8; none of the operations adds a time. All callable from any thread.
#pragma once

#include "core/errors.h"

#include <cstdint>
#include <exception>
#include <filesystem>
#include <string>
#include <string_view>

namespace kes {

/// Keeps two older logs ("Log0.txt", "Log00.txt"), opens the file anew and writes the head line.
/// Throws filesystem_error when a copy fails, runtime_error "Failed to write file {path}" when it cannot be opened.
/// A thread of its own writes the lines, in the order of the calls, so that no caller ever waits for the disk: up to
/// 4 MB of lines wait, and a line tells how many did not fit or could not be written.
void openLog(const std::filesystem::path& path);
/// All lines are in the file afterwards, unless the disk takes longer than two seconds.
void closeLog();
/// Waits until the lines so far are in the file, at most `ms` milliseconds; false when that was too short.
bool flushLog(int ms = 10000);
/// Why the log cannot be written at present; empty while it can, or while none is open.
std::string logTrouble();
/// The same wait, one second at most, for a handler of the process's last signal.
void drainLogAtCrash() noexcept;

void log(std::string_view text);              ///< text and line feed; nothing while no log is open
void logWarning(std::string_view text);       ///< "===> " in front
void logIndented(std::string_view text);      ///< ten blanks in front
void logUnlessClosing(std::string_view text); ///< `log`, unless the run is to end

/// Sets the status line, unless an error stands there. `alsoLog` writes a non-empty text to the log as well. `advice`
/// is the cause and what the user can do, in whole sentences; it is always logged, and shown with the text.
void showStatus(std::string_view text, bool alsoLog, std::string_view advice = {});
void clearStatus(); ///< `showStatus` with an empty text
/// Sets the error line, which then hides every status text until `clearError`. `advice` as above.
void showError(std::string_view text, std::string_view advice = {});
void clearError();        ///< the line is empty then, until the next status text
std::string statusText(); ///< of the line, also while an error hides it; empty = none
std::string errorText();  ///< empty = none

/// One more second of run time; clears a status text that has been up for 25 seconds or more. Worker, once per beat.
void ageStatus();
/// Run time and status texts back to their start values.
void resetStatus();

/// What an exception that reached the routine `name` says: "{} exception {}", for a failed conversion between UTF-8 and
/// UTF-16 "{} conversion exception {}, error code: {}".
std::string exceptionText(std::string_view name, const std::exception& exception);

/// "{number} {text}" for a socket error in Windows Sockets numbering (10004 to 11004, 0), the number alone if unknown.
std::string socketErrorText(int code);

/// "{:3} {:3} {:02} {:02}:{:02}:{:02} {:4}": weekday, month, day, clock, year in UTC of seconds since 1970.
std::string dateTime(std::int64_t epochSeconds);
/// "HH:MM:SS" of the wall clock, UTC.
std::string timeStamp();
/// "HH:MM:SS" of the traffic clock: `trafficEpoch` when the RealTraffic edition takes a time and it is not 0.
std::string hhmmTime(double trafficEpoch);

} // namespace kes
