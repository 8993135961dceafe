// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// lumiq-cam closest.
#include "commands.h"
#include "host.h"
#include "operating-point.h"
#include "report.h"

namespace LumiqCam {

void showClosest(const Options& options) {
    Host host(options);
    const auto info = host.pick(options.camera);
    const auto camera = host.open(info);
    const OperatingPoint point =
        chooseOperatingPoint(*camera, formatsOf(host, *camera, info.id), options.wish);
    for (const std::string& note : point.notes) {
        say(note);
    }
    if (options.json) {
        printDocument({{"camera", toJson(info)},
                       {"format", toJson(point.format)},
                       {"wish",
                        {{"size", toJson(options.wish.size)},
                         {"fps", toJson(options.wish.fps)},
                         {"priority", toText(options.wish.priority)}}},
                       {"found", point.foundByBackEnd},
                       {"size", toJson(point.size)},
                       {"fps", toJson(point.fps)}});
    } else {
        printText(toText(point.size) + " at " + toText(point.fps) + " fps\n");
    }
}

}  // namespace LumiqCam
