// SPDX-License-Identifier: MIT
#include "tools/pack/stock_files.h"

#include "airports/airport_xml.h"
#include "core/xml_file.h"
#include "platform/system.h"
#include "tools/pack/apt.h"
#include "tools/pack/soft_options.h"

#include <cmath>
#include <fmt/format.h>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <system_error>

namespace kes::pack {
namespace {

namespace fs = std::filesystem;

pugi::xml_node appendParameter(pugi::xml_node parameters, const char* name, const std::string& value) {
    pugi::xml_node parameter = parameters.append_child("parameter");
    parameter.append_attribute("name") = name;
    parameter.append_attribute("value") = value.c_str();
    return parameter;
}

/// Sets what a document tells of its list, and the list itself. All else in it stays.
std::string withStands(pugi::xml_document& document, const std::vector<Stand>& list) {
    pugi::xml_node parameters = document.child("parameters");
    for (const char* name : {"num_parkpos", "Qf_real", "Qf_soft"}) {
        parameters.remove_child(parameters.find_child_by_attribute("parameter", "name", name));
    }
    while (document.remove_child("parkpositions")) {
    }
    appendParameter(parameters, "num_parkpos", std::to_string(list.size()));
    if (const QualityPair quality = qualityOf(list); quality != QualityPair{}) {
        appendParameter(parameters, "Qf_real", std::to_string(quality.real));
        appendParameter(parameters, "Qf_soft", std::to_string(quality.soft));
    }
    appendStands(document, list, true, true);
    std::ostringstream text;
    document.save(text);
    return text.str();
}

std::string stockFile(const AptAirport& airport, const std::vector<Stand>& list) {
    pugi::xml_document document;
    appendMeta(document);
    pugi::xml_node parameters = document.append_child("parameters");
    appendParameter(parameters, "airport_name", airport.name);
    appendParameter(parameters, "publisher", "stock");
    appendParameter(parameters, "altitude", std::to_string(std::lround(airport.elevation)));
    return withStands(document, list);
}

/// In one step, since a server may be handing the old file out; without waiting for the disk, since there are thousands
/// and all can be made again.
void writeQuickly(const fs::path& file, const std::string& content) {
    if (readBytes(file) == content) {
        return;
    }
    fs::path fresh = file;
    fresh += ".new";
    std::ofstream out(fresh, std::ios::binary);
    out.write(content.data(), static_cast<std::streamsize>(content.size()));
    out.close();
    std::error_code error;
    if (out) {
        fs::rename(fresh, file, error);
    }
    if (!out || error) {
        std::error_code ignored;
        fs::remove(fresh, ignored);
        throw std::runtime_error(fmt::format("cannot write {}", platform::pathText(file)));
    }
}

/// Puts what was learned into a file that is on the server already.
void mergeThere(const fs::path& file, const std::string& target, const LearnedFiles& learned, PackCount& count) {
    pugi::xml_document document;
    const auto result = loadXml(document, file);
    if (!result) {
        count.bad.push_back(
            {platform::pathText(file), 1,
             fmt::format("could not be loaded: {}; what was learned of it is left out", result.description())});
        return;
    }
    AirportFile read;
    std::int32_t week = 0;
    std::vector<Stand> list;
    try {
        readBase(document, read, week, list);
    } catch (const std::exception& error) {
        count.bad.push_back(
            {platform::pathText(file), 1, fmt::format("{}; what was learned of it is left out", error.what())});
        return;
    }
    learned.mergeInto(target, list, count);
    writeQuickly(file, withStands(document, list));
}

} // namespace

void packStands(const std::vector<fs::path>& layouts, const fs::path& out, const StandLayers& layers,
                PackCount& count) {
    constexpr const char* stock = "MSFS/archive/stock";
    std::error_code error;
    if (!layouts.empty()) {
        fs::create_directories(out / stock, error);
    }
    if (error) {
        throw std::runtime_error(
            fmt::format("cannot make folder {}: {}", platform::pathText(out / stock), error.message()));
    }
    TextSet seen;
    std::set<std::string> learnedLeft = layers.learned.targets();
    for (const fs::path& layout : layouts) {
        for (const AptAirport& airport : readApt(layout, count.bad)) {
            if (!isFileCode(airport.code)) {
                ++count.airportsWithoutCode;
                continue;
            }
            std::vector<AptStart> starts;
            std::vector<Stand> list = standsOf(airport, &starts);
            if (list.empty() || list.size() > mostStands || !seen.insert(airport.code).second) {
                ++count.airportsWithoutStands;
                continue;
            }
            if (layers.routes) {
                std::vector<Stay> stays = staysAt(airport.code, *layers.routes, *layers.sizes, gatesIn(starts));
                const std::size_t options = addSoftOptions(list, starts, std::move(stays), *layers.sizes);
                count.softOptions += options;
                count.airportsWithOptions += options > 0 ? 1 : 0;
            }
            const std::string target = fmt::format("{}/{}.xml", stock, airport.code);
            layers.learned.mergeInto(target, list, count);
            learnedLeft.erase(target);
            writeQuickly(out / target, stockFile(airport, list));
            ++count.stockFiles;
            count.stands += list.size();
        }
    }
    for (const std::string& target : learnedLeft) {
        const fs::path file = out / platform::pathFrom(target);
        if (fs::exists(file, error)) {
            mergeThere(file, target, layers.learned, count);
        } else {
            count.bad.push_back({platform::pathText(file), 1, "is not there, so what was learned of it is left out"});
        }
    }
}

} // namespace kes::pack
