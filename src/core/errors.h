// The error that carries a meaning of its own: what the user has to read and can put right. Every other fault is one of
// the standard library's exceptions.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace nwk {

/// An error that the user must read. what() is "{number}: {text}", for number 99 the text alone.
class UserErrorException : public std::runtime_error {
public:
    UserErrorException(std::uint32_t errorNumber, const std::string& text)
        : std::runtime_error(errorNumber == 99 ? text : std::to_string(errorNumber) + ": " + text),
          number(errorNumber) {}
    const std::uint32_t number;
};

} // namespace nwk
