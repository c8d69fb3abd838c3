// The two channels to the user: the file Log.txt and one line for status or error on the window.
// Every text is one complete line in UTF-8; none of the operations adds a time. All callable from any thread.
#pragma once

#include "core/errors.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace kes {

/// Keeps two older logs ("Log0.txt", "Log00.txt"), opens the file anew and writes the head line.
/// Throws filesystem_error when a copy fails, runtime_error "Failed to write file {path}" when it cannot be opened.
void openLog(const std::filesystem::path& path);
void closeLog();

void log(std::string_view text);              ///< text and line feed, flushed; nothing while no log is open
void logWarning(std::string_view text);       ///< "===> " in front
void logIndented(std::string_view text);      ///< ten blanks in front
void logUnlessClosing(std::string_view text); ///< `log`, unless the run is to end

/// Sets the status line, unless an error stands there. `alsoLog` writes a non-empty text to the log as well.
void showStatus(std::string_view text, bool alsoLog);
void clearStatus();
/// Sets the error line, which then hides every status text until `clearError`.
void showError(std::string_view text);
void clearError();
std::string statusText();
std::string errorText();

/// One more second of run time; clears a status text that has been up for 25 seconds or more. Worker, once per beat.
void ageStatus();
/// Run time and status texts back to their start values.
void resetStatus();

/// "{number} {text}" for a socket error in Windows Sockets numbering (10004 to 11004, 0), the number alone if unknown.
std::string socketErrorText(int code);

/// "{:3} {:3} {:02} {:02}:{:02}:{:02} {:4}": weekday, month, day, clock, year in UTC of seconds since 1970.
std::string dateTime(std::int64_t epochSeconds);
/// "HH:MM:SS" of the wall clock, UTC.
std::string timeStamp();
/// "HH:MM:SS" of the traffic clock: `trafficEpoch` when the RealTraffic edition takes a time and it is not 0.
std::string hhmmTime(double trafficEpoch);

} // namespace kes
