#!/bin/sh
# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# v4l2-compliance.sh CAMERA RECORD: v4l2-compliance runs against a camera, streaming included. What
# each of its checks said is kept in the file RECORD; none may fail, and those that matter to a
# camera must have been made.

. "$(dirname "$0")/run-tool.sh"
need v4l2-compliance v4l-utils

camera=$1
record=$2
status=0
with_cameras "/dev/video0=$LUMIQ_CAMERAS/$camera.json" v4l2-compliance -d /dev/video0 -s \
    >"$scratch/raw" 2>&1 || status=$?
# It rewrites its progress line; what counts is the last state of each line.
tr '\r' '\n' <"$scratch/raw" >"$scratch/said"
grep -E '^[[:space:]]*test |[[:space:]]test MMAP' "$scratch/said" | sed 's/^.*\(test .*\)$/\1/' \
    >"$record"
grep -E 'fail:|warn:' "$scratch/said" >&2 || true
echo "$(grep -c ': OK$' "$record") checks pass, $(grep -c 'Not Supported' "$record") do not apply," \
    "$(grep -c 'FAIL' "$record" || true) fail; see $record"

# Linux calls NV12 "Y/UV 4:2:0" since 5.19, and the simulated camera with it; a tool from before that
# takes the new name for a failure. Nothing else may fail.
enumerates='VIDIOC_ENUM_FMT/FRAMESIZES/FRAMEINTERVALS'
allowed=0
if [ "$(grep -c 'fail:' "$scratch/said")" -eq 1 ] &&
    grep -q "fail:.*mismatch: was 'Y/UV 4:2:0', expected 'Y/CbCr 4:2:0'" "$scratch/said"; then
    echo "this v4l2-compliance is older than the name that NV12 has now"
    allowed=1
    enumerates='VIDIOC_G_FMT'
fi
grep -q "^Total for .* Failed: $allowed," "$scratch/said" || fail "$(tail -n 1 "$scratch/said")"
[ "$status" -eq "$allowed" ] || fail "v4l2-compliance ended with $status"
[ "$(grep -c FAIL "$record")" -eq "$allowed" ] || fail "a check fails"
for check in 'VIDIOC_QUERYCAP' 'invalid ioctls' 'second /dev/video0 open' 'VIDIOC_G/S_PRIORITY' \
    'for unlimited opens' 'VIDIOC_G/S/ENUMINPUT' "$enumerates" \
    'VIDIOC_G/S_PARM' 'VIDIOC_G_FMT' 'VIDIOC_TRY_FMT' 'VIDIOC_S_FMT' \
    'VIDIOC_REQBUFS/CREATE_BUFS/QUERYBUF' 'blocking wait'; do
    grep -qF "test $check: OK" "$record" || fail "\"$check\" was not made"
done
# Newer ones stream twice each way, with buffers that were made in two ways, and say so.
for way in 'no poll' select epoll; do
    grep -qE "test MMAP \($way(, [A-Z_]+)?\): OK" "$record" || fail "\"MMAP ($way)\" was not made"
done
