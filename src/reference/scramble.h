// SPDX-License-Identifier: MIT
// The key that the reference document and the regcode document are scrambled with, both ways. Pure functions, any
// thread. Characters from '-' to 'Z' survive the round; an empty text stays empty in all of them.
#pragma once

#include <string>
#include <string_view>

namespace kes {

/// 6 stored characters give 3. Three characters are taken as plain, with a log line. Throws std::runtime_error
/// "decrypt airl \"{}\" error" for any other length.
std::string decryptAirline(std::string_view stored);
/// 3 stored characters give 3, 4 give 4, any other length gives 2; throws std::runtime_error for a single character.
std::string decryptModel(std::string_view stored);
/// As many characters as stored; '+' stays. Throws std::runtime_error for a character other than '+' at position 24 or
/// later.
std::string decryptRegcode(std::string_view stored);

/// The inverses: `decrypt(encrypt(x)) == x` for airline codes of 3, model codes of 2 to 4 and regcodes of up to 24
/// characters from '-' to 'Z' ('+' too in regcodes). Throw std::invalid_argument that names the text for anything else.
std::string encryptAirline(std::string_view code);
std::string encryptModel(std::string_view code);
std::string encryptRegcode(std::string_view regcode);

} // namespace kes
