// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// lumiq-cam list.
#include <algorithm>

#include "commands.h"
#include "host.h"
#include "report.h"

namespace LumiqCam {
namespace {

void printTable(const std::vector<Nerio::Lumiq::CameraInfo>& cameras) {
    std::size_t widest = 0;
    for (const auto& camera : cameras) {
        widest = std::max(widest, camera.name.size());
    }
    std::string text;
    for (std::size_t index = 0; index < cameras.size(); ++index) {
        std::string name = printable(cameras[index].name);
        name.resize(widest, ' ');
        text += std::to_string(index) + "  " + name + "  " + printable(cameras[index].id) + "\n";
    }
    printText(text);
}

}  // namespace

void listCameras(const Options& options) {
    Host host(options);
    const auto cameras = host.cameraList().cameras();
    if (options.json) {
        Json list = Json::array();
        for (std::size_t index = 0; index < cameras.size(); ++index) {
            Json item{{"index", index}};
            item.update(toJson(cameras[index]));
            list.push_back(std::move(item));
        }
        printDocument({{"cameras", std::move(list)}});
    } else if (cameras.empty()) {
        say("no cameras");
    } else {
        printTable(cameras);
    }
}

}  // namespace LumiqCam
