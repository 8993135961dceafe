// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// Reading the script; see the header.
#include "fake-script.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <map>
#include <nlohmann/json.hpp>

namespace FakePlugin {
namespace {

using Json = nlohmann::json;

PixelFormat formatNamed(const std::string& name) {
    static const std::map<std::string, PixelFormat> names{
        {"Invalid", PixelFormat::Invalid},
        {"YUV420Planar", PixelFormat::YUV420Planar},
        {"YUV420SemiPlanar", PixelFormat::YUV420SemiPlanar},
        {"YCbCrFlexible", PixelFormat::YCbCrFlexible},
        {"Raw", PixelFormat::Raw},
        {"Encoded", PixelFormat::Encoded},
        {"Preferred", PixelFormat::Preferred},
        {"YUYV", PixelFormat::YUYV},
        {"UYVY", PixelFormat::UYVY},
        {"MJPG", PixelFormat::MJPG},
        {"H264", PixelFormat::H264}};
    return names.at(name);
}

std::vector<PixelFormatDescription> formatsFrom(const Json& json) {
    std::vector<PixelFormatDescription> formats;
    for (const Json& item : json) {
        const bool converted = item.is_array();
        const std::string name = converted ? item.at(0) : item;
        formats.push_back(
            {formatNamed(name), converted ? PixelFormatDescription::SupportedWithConverting : 0});
    }
    return formats;
}

CameraCapabilityRanges rangesFrom(const Json& json) {
    CameraCapabilityRanges ranges;
    ranges.minWidth = json.at("min").at(0);
    ranges.minHeight = json.at("min").at(1);
    ranges.maxWidth = json.at("max").at(0);
    ranges.maxHeight = json.at("max").at(1);
    const Json step = json.value("step", Json::array({0, 0}));
    ranges.widthStep = step.at(0);
    ranges.heightStep = step.at(1);
    ranges.maxFps = {json.value("maxFps", 30U), 1};
    return ranges;
}

void readStream(const Json& json, CameraScript& camera) {
    camera.starts = json.value("starts", true);
    camera.startLog = json.value("startLog", "");
    camera.delivers = formatNamed(json.value("delivers", "YUYV"));
    camera.bufferTooShort = json.value("bufferTooShort", false);
    camera.withoutHuffmanTables = json.value("withoutHuffmanTables", false);
    camera.fps = json.value("fps", 50U);
    camera.pace = std::chrono::milliseconds(json.value("paceMs", 2));
    camera.lost = json.value("lost", std::set<std::uint32_t>());
    camera.late = json.value("late", std::set<std::uint32_t>());
    if (json.contains("frames")) {
        camera.frames = json.at("frames").get<std::uint32_t>();
    }
    camera.then = json.value("then", std::vector<std::string>());
}

CameraScript cameraFrom(const Json& json) {
    CameraScript camera;
    camera.info.id = json.at("id");
    camera.info.name = json.at("name");
    camera.info.provider = "fake";
    const Json standard{{"YUV420Planar"}, "YCbCrFlexible", "Raw", "Encoded", "Preferred", "YUYV"};
    camera.formats = formatsFrom(json.value("formats", standard));
    for (const Json& item : json.value("capabilities", Json::array())) {
        camera.capabilities.push_back({item.at(0), item.at(1), item.at(2)});
    }
    if (json.contains("ranges")) {
        camera.ranges = rangesFrom(json.at("ranges"));
    }
    camera.findsClosest = json.value("findsClosest", true);
    if (json.contains("closest")) {
        const Json& item = json.at("closest");
        camera.closest = CameraCapabilityEx(item.at(0), item.at(1), {item.at(2), item.at(3)});
    }
    readStream(json, camera);
    return camera;
}

LaterEvent eventFrom(const Json& json) {
    LaterEvent event{std::chrono::milliseconds(json.at("afterMs")), {}, json.value("remove", "")};
    if (json.contains("add")) {
        event.add = cameraFrom(json.at("add"));
    }
    return event;
}

Script scriptFrom(const Json& json) {
    Script result;
    result.init = json.value("init", "true");
    result.givesModule = json.value("givesModule", true);
    result.givesManager = json.value("givesManager", true);
    result.log = json.value("log", std::vector<std::string>());
    for (const Json& item : json.value("cameras", Json::array())) {
        result.cameras.push_back(cameraFrom(item));
    }
    for (const Json& item : json.value("later", Json::array())) {
        result.later.push_back(eventFrom(item));
    }
    return result;
}

Script readScript() {
    const char* const text = std::getenv("LUMIQ_FAKE_PLUGIN");
    try {
        return scriptFrom(text == nullptr ? Json::object() : Json::parse(text));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "fake: the script is wrong: %s\n", error.what());
        std::_Exit(99);
    }
}

}  // namespace

const Script& script() {
    static const Script theScript = readScript();
    return theScript;
}

}  // namespace FakePlugin
