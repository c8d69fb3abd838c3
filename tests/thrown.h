// SPDX-License-Identifier: MIT
#pragma once

#include <exception>
#include <string>

namespace kes::test {

/// The text of the exception that `act` throws; empty when it throws none.
template <typename Act> std::string thrownBy(const Act& act) {
    try {
        act();
    } catch (const std::exception& e) {
        return e.what();
    }
    return {};
}

/// The number in front of it, as errors for the user have one.
template <typename Act> std::string errorOf(const Act& act) {
    const std::string text = thrownBy(act);
    return text.substr(0, text.find(':'));
}

} // namespace kes::test
