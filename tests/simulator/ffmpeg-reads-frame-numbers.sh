#!/bin/sh
# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# ffmpeg-reads-frame-numbers.sh FORMAT READER: ffmpeg captures in one format (as it names it) and
# decodes; the pictures carry the frame numbers 0, 1, 2 and so on.

. "$(dirname "$0")/run-tool.sh"
need ffmpeg ffmpeg

format=$1
reader=$2
frames=20
devices=/dev/video0=$(dirname "$0")/patient-camera.json
with_cameras "$devices" ffmpeg -nostdin -v error -f v4l2 -input_format "$format" \
    -video_size 320x240 -i /dev/video0 -frames:v $frames -vsync passthrough \
    -f rawvideo -pix_fmt gray "$scratch/frames"
"$reader" 320 240 <"$scratch/frames" >"$scratch/numbers"
seq 0 $((frames - 1)) >"$scratch/expected"
diff "$scratch/expected" "$scratch/numbers" >&2 || fail "the numbers in the pictures differ"
