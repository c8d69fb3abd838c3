// SPDX-License-Identifier: MIT
// From the create request to the simulator's object: the simulator gives an object a number of its own and says only
// that one was added, so its tail number, which the replies about the range tell, joins the two. Here come in, too,
// what the simulator says about objects that are joined. All of it becomes SimReply records for the worker. SimClient
// thread.
#pragma once

#include "simconnect/simconnect.h"

#include <cstdint>
#include <string_view>

namespace kes {

/// A create request went out in the packet `sendId`.
void noteCreateSent(std::uint32_t sendId, std::uint32_t hexid, std::string_view tailNumber);
/// Exception 22: the create that the packet `sendId` asked for was refused.
void noteCreateRefused(std::uint32_t sendId);
void noteObjectAdded(std::uint32_t objectid);   ///< it waits to be joined; the user's own objects do not
void noteObjectRemoved(std::uint32_t objectid); ///< by whomever
/// Once per frame, under `simMutex`. The range may shrink, or the user fly away, while an object is made. No range
/// reply would ever name it, and it would stay in the simulator for good, so what is still unknown is asked for one by
/// one.
void askForUnjoined(simconnect::HANDLE handle);

/// A reply about the range or to `askForUnjoined`. One that is too short or holds what is no number is passed over.
void onObjectDataByType(const simconnect::RecvSimObjectData& message);
/// Height of the reference point and pitch of a standing aircraft; likewise.
void onStaticData(const simconnect::RecvSimObjectData& message);

void prepareAiObjects(); ///< room for a run; worker, before the SimClient thread starts
/// Forgets all objects. Worker, after the SimClient thread has ended.
void resetAiObjects();

} // namespace kes
