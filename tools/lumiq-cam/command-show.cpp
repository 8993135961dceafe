// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// lumiq-cam show.
#include <algorithm>
#include <optional>

#include "commands.h"
#include "host.h"
#include "report.h"

namespace LumiqCam {
namespace {

using Nerio::Lumiq::CameraCapability;
using Nerio::Lumiq::CameraCapabilityRanges;
using Nerio::Lumiq::CameraInfo;
using Nerio::Lumiq::PixelFormatDescription;

struct FormatRow {
    PixelFormatDescription description;
    std::optional<CameraCapabilityRanges> ranges;
};

struct Abilities {
    CameraInfo camera;
    std::vector<FormatRow> formats;
    std::vector<CameraCapability> capabilities;
};

Abilities ask(Host& host, const CameraInfo& info) {
    const auto camera = host.open(info);
    Abilities abilities{info, {}, {}};
    for (const PixelFormatDescription& description : formatsOf(host, *camera, info.id)) {
        FormatRow row{description, {}};
        CameraCapabilityRanges ranges;
        if (camera->queryCapabilityRanges(description.format, ranges)) {
            row.ranges = ranges;
        }
        abilities.formats.push_back(row);
    }
    if (!camera->queryCapabilities(abilities.capabilities)) {
        abilities.capabilities.clear();
    }
    return abilities;
}

const char* obtained(const PixelFormatDescription& description) {
    return (description.flags & PixelFormatDescription::SupportedWithConverting) != 0 ? "converted"
                                                                                      : "direct";
}

Json rangesToJson(const CameraCapabilityRanges& ranges) {
    return {{"minWidth", ranges.minWidth},      {"maxWidth", ranges.maxWidth},
            {"widthStep", ranges.widthStep},    {"minHeight", ranges.minHeight},
            {"maxHeight", ranges.maxHeight},    {"heightStep", ranges.heightStep},
            {"minFps", toJson(ranges.minFps)},  {"maxFps", toJson(ranges.maxFps)},
            {"fpsStep", toJson(ranges.fpsStep)}};
}

Json documentFor(const Abilities& abilities) {
    Json formats = Json::array();
    for (const FormatRow& row : abilities.formats) {
        Json item{{"format", toJson(row.description.format)},
                  {"obtained", obtained(row.description)},
                  {"abstract", isAbstract(row.description.format)}};
        item["ranges"] = row.ranges ? rangesToJson(*row.ranges) : Json();
        formats.push_back(std::move(item));
    }
    Json capabilities = Json::array();
    for (const CameraCapability& item : abilities.capabilities) {
        capabilities.push_back({{"width", item.width}, {"height", item.height}, {"fps", item.fps}});
    }
    return {{"camera", toJson(abilities.camera)},
            {"formats", std::move(formats)},
            {"capabilities", std::move(capabilities)}};
}

std::string stepsText(const CameraCapabilityRanges& ranges) {
    if (ranges.widthStep == 0 && ranges.heightStep == 0) {
        return "";
    }
    if (ranges.widthStep == 1 && ranges.heightStep == 1) {
        return ", any between";
    }
    return ", in steps of " + toText(FrameSize{ranges.widthStep, ranges.heightStep});
}

std::string sizesText(const CameraCapabilityRanges& ranges) {
    const std::string least = toText(FrameSize{ranges.minWidth, ranges.minHeight});
    const std::string most = toText(FrameSize{ranges.maxWidth, ranges.maxHeight});
    return (least == most ? least : least + " to " + most) + stepsText(ranges);
}

std::string ratesText(const CameraCapabilityRanges& ranges) {
    if (ranges.maxFps.numerator == 0) {
        return "no rates listed";
    }
    const std::string least =
        ranges.minFps.numerator == 0 ? "up to " : toText(ranges.minFps) + " to ";
    return least + toText(ranges.maxFps) + " fps";
}

std::string padded(std::string text, std::size_t width) {
    text.resize(std::max(text.size(), width), ' ');
    return text;
}

std::string formatLine(const FormatRow& row, std::size_t sizesWidth) {
    const std::string ranges =
        row.ranges ? padded(sizesText(*row.ranges), sizesWidth) + "  " + ratesText(*row.ranges)
                   : "nothing listed";
    return "  " + padded(printable(toString(row.description.format)), 16) + "  " +
           padded(obtained(row.description), 9) + "  " + ranges + "\n";
}

std::string toTable(const Abilities& abilities) {
    std::string text = "Name      " + printable(abilities.camera.name) + "\nId        " +
                       printable(abilities.camera.id) + "\nProvider  " +
                       printable(abilities.camera.provider) + "\n\nFormats\n";
    std::size_t sizesWidth = 0;
    for (const FormatRow& row : abilities.formats) {
        sizesWidth = std::max(sizesWidth, row.ranges ? sizesText(*row.ranges).size() : 0);
    }
    for (const FormatRow& row : abilities.formats) {
        text += formatLine(row, sizesWidth);
    }
    text += "\nOperating points\n";
    for (const CameraCapability& item : abilities.capabilities) {
        text += "  " + toText(FrameSize{item.width, item.height}) + " at " +
                std::to_string(item.fps) + " fps\n";
    }
    return abilities.capabilities.empty() ? text + "  none listed\n" : text;
}

}  // namespace

void showCamera(const Options& options) {
    Host host(options);
    const Abilities abilities = ask(host, host.pick(options.camera));
    if (options.json) {
        printDocument(documentFor(abilities));
    } else {
        printText(toTable(abilities));
    }
}

}  // namespace LumiqCam
