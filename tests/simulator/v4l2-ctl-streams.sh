#!/bin/sh
# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# v4l2-ctl streams as many frames as asked for, with every sequence number, and writes their bytes.

. "$(dirname "$0")/run-tool.sh"
need v4l2-ctl v4l-utils

frames=20
devices=/dev/video0=$(dirname "$0")/patient-camera.json
with_cameras "$devices" v4l2-ctl -d /dev/video0 --set-fmt-video width=320,height=240,pixelformat=UYVY \
    --stream-mmap --stream-count=$frames --stream-to="$scratch/frames" --verbose \
    >"$scratch/said" 2>&1

grep -o 'seq: *[0-9]*' "$scratch/said" | grep -o '[0-9]*$' >"$scratch/numbers"
seq 0 $((frames - 1)) >"$scratch/expected"
diff "$scratch/expected" "$scratch/numbers" >&2 || fail "the sequence numbers differ"
bytes=$(stat -c %s "$scratch/frames")
[ "$bytes" -eq $((frames * 320 * 240 * 2)) ] || fail "$bytes bytes were written"
