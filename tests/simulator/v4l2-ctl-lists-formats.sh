#!/bin/sh
# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# v4l2-ctl names each camera and lists its formats, sizes and intervals as they are described.

. "$(dirname "$0")/run-tool.sh"
need v4l2-ctl v4l-utils

devices=/dev/video0=$LUMIQ_CAMERAS/yuyv-webcam.json:/dev/video1=$LUMIQ_CAMERAS/stepwise.json
devices=$devices:/dev/video2=$LUMIQ_CAMERAS/continuous.json

expect() {
    grep -qF -- "$1" "$scratch/said" || {
        cat "$scratch/said" >&2
        fail "\"$1\" was not listed"
    }
}

with_cameras "$devices" v4l2-ctl -d /dev/video0 --info --list-formats-ext >"$scratch/said"
expect "Card type        : Desk webcam"
expect "Device Caps      : 0x04200001"
sed -n '/YUYV/,/MJPG/p' "$scratch/said" | grep -E "Size|Interval" | sed 's/^[[:space:]]*//' \
    >"$scratch/listed"
cat >"$scratch/expected" <<'END'
Size: Discrete 640x480
Interval: Discrete 0.033s (30.000 fps)
Interval: Discrete 0.067s (15.000 fps)
Size: Discrete 320x240
Interval: Discrete 0.033s (30.000 fps)
Interval: Discrete 0.067s (15.000 fps)
Size: Discrete 160x120
Interval: Discrete 0.033s (30.000 fps)
Interval: Discrete 0.067s (15.000 fps)
Size: Discrete 1280x720
Interval: Discrete 0.100s (10.000 fps)
Interval: Discrete 0.200s (5.000 fps)
END
diff "$scratch/expected" "$scratch/listed" >&2 || fail "the sizes of YUYV differ"

with_cameras "$devices" v4l2-ctl -d /dev/video1 --list-formats-ext >"$scratch/said"
expect "Size: Stepwise 160x120 - 1280x960 with step 32/24"
with_cameras "$devices" v4l2-ctl -d /dev/video1 \
    --list-frameintervals width=160,height=120,pixelformat=YUYV >"$scratch/said"
expect "Interval: Stepwise 0.017s - 0.200s with step 0.017s (5.000-60.000 fps)"
with_cameras "$devices" v4l2-ctl -d /dev/video2 --list-formats-ext >"$scratch/said"
expect "Size: Continuous 128x96 - 1920x1080"
