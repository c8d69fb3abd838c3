// SPDX-License-Identifier: MIT
#include "feed/qnh_reader.h"

#include "core/log.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace kes {

QnhReader qnhReader;
std::atomic<std::int32_t> currentQnh{standardQnh};

namespace {

using nlohmann::json;

constexpr ReaderNames names{"QNH Reader", "WeatherReader", false};
ReaderThread thread(qnhReader);

constexpr std::int64_t lowestQnh = 930;
constexpr std::int64_t highestQnh = 1080;
constexpr double hectopascalPerHundredthInch = 0.33865307;
/// Far beyond any pressure, near enough to be rounded and multiplied without a care.
constexpr double absurd = 1e9;

std::int64_t rounded(double value) {
    return std::llround(std::clamp(value, -absurd, absurd));
}

/// The whole number at the start of a text; `standardQnh` with a complaint when there is none.
std::int64_t fromText(std::string_view text, LogLimiter& complaints) {
    const std::size_t start = text.find_first_not_of(" \t\n\v\f\r");
    if (start != std::string_view::npos)
        text.remove_prefix(start);
    if (text.size() > 1 && text[0] == '+' && text[1] != '-')
        text.remove_prefix(1);
    std::int32_t value = standardQnh;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc::invalid_argument)
        complaints.write("QNH string invalid arg: invalid stoi argument");
    else if (error == std::errc::result_out_of_range)
        complaints.write("QNH string out of range: stoi argument out of range");
    return value;
}

void readWeather(QnhReader& reader) {
    const json weather = json::parse(reader.text);
    if (!weather.is_object())
        throw std::runtime_error(fmt::format("the weather is no object but {}", weather.type_name()));
    const auto noQnh = [&reader] { reader.complaints.write(fmt::format("no QNH {}", quoted(reader.text))); };

    // By reference: a copy of a deeply nested value would recurse.
    const auto found = weather.find("QNH");
    if (found == weather.end() || found->empty())
        return noQnh();
    const json& qnh = *found;
    std::int64_t value = standardQnh;
    if (qnh.is_number_float())
        value = rounded(static_cast<float>(std::clamp(qnh.get<double>(), -absurd, absurd)));
    else if (qnh.is_number())
        value = rounded(qnh.get<double>());
    else if (const auto* text = qnh.get_ptr<const json::string_t*>())
        value = fromText(*text, reader.complaints);
    else
        return noQnh();

    if (value > highestQnh)
        value = rounded(static_cast<double>(value) * hectopascalPerHundredthInch);
    if (value < lowestQnh || value > highestQnh)
        return reader.complaints.write(fmt::format("? Strange QNH {} found in {}", value, quoted(reader.text)));
    if (value == reader.lastQnh && value != standardQnh)
        return;
    const auto hectopascal = static_cast<std::int32_t>(value);
    reader.lastQnh = hectopascal;
    currentQnh.exchange(hectopascal);
    readouts.qnh = hectopascal;
    Lamp silent = Lamp::silent;
    readouts.weatherLamp.compare_exchange_strong(silent, Lamp::receiving);
    repaint();
}

} // namespace

void QnhReader::onDatagram() {
    try {
        readWeather(*this);
    } catch (const std::exception& error) {
        complaints.write(fmt::format("Exception {}, in {}", quoted(error.what()), quoted(text)));
    }
}

void QnhReader::onStopped() {
    log("QNH Reader has stopped");
}

void startQnhReader(std::uint16_t port) {
    thread.start(names, port == 0 ? weatherPort : port);
}

void stopQnhReader() {
    thread.stop();
}

void resetQnhReader() {
    qnhReader.lastQnh = standardQnh;
    qnhReader.stopFlag = false;
    qnhReader.datagramCount = 0;
    qnhReader.lastSeenCount = 0;
    qnhReader.lampShowsData = true;
    // Between runs there is nobody to renew the value; during one the pressure goes on to hold.
    if (!thread.started())
        currentQnh = standardQnh;
}

} // namespace kes
