// SPDX-License-Identifier: MIT
// The errors that carry a meaning of their own: what the user has to read and can put right. Every other fault is one
// of the standard library's exceptions.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>

namespace kes {

/// An error whose cause, and what can be done, is known: `advice`, in whole sentences; empty = the text says it all.
class AdvisedError : public std::runtime_error {
public:
    AdvisedError(const std::string& text, std::string adviceText)
        : std::runtime_error(text), advice(std::move(adviceText)) {}
    const std::string advice;
};

/// What the user can do about an exception; empty when it does not tell.
inline std::string adviceOf(const std::exception& error) {
    const auto* advised = dynamic_cast<const AdvisedError*>(&error);
    return advised == nullptr ? std::string() : advised->advice;
}

} // namespace kes

namespace nwk {

/// An error that the user must read. what() is "{number}: {text}", for number 99 the text alone.
class UserErrorException : public kes::AdvisedError {
public:
    UserErrorException(std::uint32_t errorNumber, const std::string& text, std::string adviceText = {})
        : AdvisedError(errorNumber == 99 ? text : std::to_string(errorNumber) + ": " + text, std::move(adviceText)),
          number(errorNumber) {}
    const std::uint32_t number;
};

} // namespace nwk
