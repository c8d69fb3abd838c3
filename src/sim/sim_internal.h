// Shared between the files of this folder only.
#pragma once

#include "sim/ai_commands.h"
#include "simconnect/simconnect.h"

#include <string_view>

namespace kes {

/// Defines, subscribes and maps everything, in a fixed order. False when a call failed.
bool defineAll(simconnect::HANDLE handle);

// Parts of the dispatcher that belong to AI objects. SimClient thread.
void noteObjectAdded(std::uint32_t objectid);
void noteObjectRemoved(std::uint32_t objectid);
/// Exception 22: the create that the packet `sendId` asked for was refused.
void noteCreateRefused(std::uint32_t sendId);
void onObjectDataByType(const simconnect::RecvSimObjectData& message);
void onStaticData(const simconnect::RecvSimObjectData& message);

// Replies about the user's aircraft. SimClient thread.
void onUserTitle(std::string_view title);
void onUserModel(std::string_view model);
void resetUserRecognition();

/// A text field of an object data message, up to its first zero or the end of the packet.
std::string_view textOf(const simconnect::RecvSimObjectData& message, std::size_t offset, std::size_t limit);

} // namespace kes
