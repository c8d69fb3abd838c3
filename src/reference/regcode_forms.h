// SPDX-License-Identifier: MIT
// The forms in which a registration is looked up: feeds often leave out the dash, and where it stood depends on the
// state.
#pragma once

#include <string>
#include <string_view>

namespace kes {

/// Calls `visit` with each form in order until it gives a non-null pointer, and returns that or null. The forms of
/// usual registrations fit the text's inner buffer, so nothing is allocated.
template <class Visit> auto firstOfRegcodeForms(std::string_view regcode, Visit&& visit) -> decltype(visit(regcode)) {
    if (regcode.size() >= 5 && regcode.front() != 'N' && regcode.find('-') == std::string_view::npos) {
        std::string form;
        for (const std::size_t letters : {2u, 1u}) {
            form.assign(regcode.substr(0, letters)).append("-").append(regcode.substr(letters));
            if (const auto found = visit(std::string_view(form))) {
                return found;
            }
        }
    }
    return visit(regcode);
}

} // namespace kes
