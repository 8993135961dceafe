// SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
// SPDX-License-Identifier: Apache-2.0
//
// What --help says beyond the list of options. Used by options.cpp.
#pragma once

namespace LumiqCam {

inline constexpr const char* kDescription =
    "Sees and uses cameras through a Lumiq camera plug-in, as any host program would.";

inline constexpr const char* kCommonFooter = R"(
CAMERA is the number that "lumiq-cam list" shows, an id, or a part of a name that fits one camera.

Examples:
  lumiq-cam list                                     which cameras are there
  lumiq-cam show 0                                   what the first one can do
  lumiq-cam show "front cam" --json                  the same for a script
  lumiq-cam closest 0 --size 1280x800 --fps 25       the nearest the camera has
  lumiq-cam capture 0 -o picture.png                 one picture
  lumiq-cam capture 0 -n 100 -o frame-%04d.jpg       a hundred pictures
  lumiq-cam capture 0 --duration 10 -o clip.y4m      ten seconds of video
  lumiq-cam capture 0 --as y4m -o - | ffplay -       a live view
  lumiq-cam capture 0 --duration 5                   only measure rate, losses and jitter
  lumiq-cam watch                                    cameras as they come and go

Exit codes:
  0  done; also when Ctrl-C or SIGTERM ended a capture or a watch
  1  an internal error
  2  the command line is wrong
  3  no such camera, or CAMERA fits several
  4  the plug-in cannot be loaded, or the bus or the device-access service is not there
  5  the camera was removed while it was used
  6  no frame arrived in time
  7  the camera cannot do what was asked, or the capture failed
  8  the output cannot be written

Data goes to standard output, messages go to standard error.
Environment: LUMIQ_PLUGIN (the plug-in), LUMIQ_DEBUG and LUMIQ_NO_SYSLOG (see --syslog),
DBUS_SYSTEM_BUS_ADDRESS (another bus than the system's).)";

inline constexpr const char* kCaptureFooter = R"(
The ending of --output chooses what is written:
  .png           a picture
  .jpg .jpeg     a picture; the camera's own JPEG where it delivers one
  .y4m           video, uncompressed 4:2:0, for players and encoders
  .yuv           raw bytes; asks for YUV420Planar unless --format is given
  .mjpg .mjpeg   raw bytes; asks for MJPG unless --format is given
  .h264          raw bytes; asks for H264 unless --format is given
  anything else  raw bytes: the frame as the camera delivers it, or as 4:2:0
                 planes where --format is one of the 4:2:0 formats
"-" is standard output (raw bytes unless --as says otherwise). A number pattern
such as frame-%04d.png writes one file per frame, counted from 1.

Without --count and --duration a capture lasts until Ctrl-C; a single picture file
is one frame.

Summary: "lost" is how many frames the camera made that never arrived, estimated
from gaps between arrivals, since frames carry no sequence numbers. "dropped" is
how many arrived but were not written because writing was too slow.)";

}  // namespace LumiqCam
