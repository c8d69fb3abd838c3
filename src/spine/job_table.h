// SPDX-License-Identifier: MIT
// What a running flight does less often than every tick, as a table: one row per job, in the order in which those of
// one second run. Worker only.
#pragma once

#include <cstdint>

namespace kes {

struct Job {
    const char* name;
    std::int32_t period; ///< seconds: the job is due when `secondCounter` is a multiple of it
    std::int32_t except; ///< but not when it is a multiple of this one; 0 = no exception
    void (*run)();       ///< looks for itself whether there is something to do
};

/// Runs what is due at a beat of the simulator: the jobs of every second, which advance `secondCounter`, and then those
/// of the second that has begun. When the run is to end it leaves the latter out and returns false. `call` runs a job;
/// tests only note its name.
bool runJobs(void (*call)(const Job&) = [](const Job& job) { job.run(); });

// Jobs that an idle flight has as well.
/// Numbers of aircraft on the window.
void updateCounters();
/// Reads the park airports anew when the user has asked for it and no placing goes on.
void rereadStep();

/// Start values of what the jobs remember.
void resetJobs();

} // namespace kes
