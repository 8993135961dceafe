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

grep -q '^Total for .* Failed: 0,' "$scratch/said" || fail "$(tail -n 1 "$scratch/said")"
[ "$status" -eq 0 ] || fail "v4l2-compliance ended with $status"
grep -q FAIL "$record" && fail "a check fails"
for check in 'VIDIOC_QUERYCAP' 'invalid ioctls' 'second /dev/video0 open' 'VIDIOC_G/S_PRIORITY' \
    'for unlimited opens' 'VIDIOC_G/S/ENUMINPUT' 'VIDIOC_ENUM_FMT/FRAMESIZES/FRAMEINTERVALS' \
    'VIDIOC_G/S_PARM' 'VIDIOC_G_FMT' 'VIDIOC_TRY_FMT' 'VIDIOC_S_FMT' \
    'VIDIOC_REQBUFS/CREATE_BUFS/QUERYBUF' 'blocking wait' 'MMAP (no poll)' 'MMAP (select)' \
    'MMAP (epoll)'; do
    grep -qF "test $check: OK" "$record" || fail "\"$check\" was not made"
done
