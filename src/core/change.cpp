// SPDX-License-Identifier: MIT
#include "core/change.h"

#include "core/parameters_file.h"
#include "core/window.h"

#include <algorithm>
#include <fmt/format.h>
#include <string>

namespace kes {

void change(BoolBox& box, bool on) {
    box.value = on;
    save(box);
    setCheck(box, on);
}

void change(IntParameter& parameter, std::int64_t value) {
    parameter.value = parameter.clamped(value);
    save(parameter);
}

void change(IntBox& box, std::int64_t value) {
    change(static_cast<IntParameter&>(box), value);
    showValue(box);
}

void change(TextParameter& parameter, std::string_view text) {
    parameter.set(text);
    save(parameter);
}

void change(TextBox& box, std::string_view text) {
    change(static_cast<TextParameter&>(box), text);
    setText(box, text);
}

void changeForNow(BoolBox& box, bool on) {
    box.value = on;
    setCheck(box, on);
}

void changeForNow(IntBox& box, std::int64_t value) {
    box.value = box.clamped(value);
    showValue(box);
}

void changeForNow(FloatBox& box, float value) {
    box.value = std::clamp(value, box.minValue, box.maxValue);
    showValue(box);
}

void changeForNow(TextBox& box, std::string_view text) {
    box.set(text);
    setText(box, text);
}

void showValue(const IntBox& box) {
    setText(box, std::to_string(box));
}

void showValue(const FloatBox& box) {
    setText(box, fmt::format("{:.1F}", box.value.load()));
}

} // namespace kes
