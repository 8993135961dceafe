#!/bin/sh
# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# A variable or description that cannot be used: a message that names it, a camera that cannot be
# opened, and a program that is otherwise unharmed.

. "$(dirname "$0")/run-tool.sh"

# attempt DEVICES: opens /dev/video0 as any program would; what is said goes to $scratch/said.
attempt() {
    status=0
    with_cameras "$1" head -c 1 /dev/video0 >"$scratch/said" 2>&1 || status=$?
    [ "$status" -eq 1 ] || fail "a program ended with $status over $1"
}
expect() {
    grep -qF -- "$1" "$scratch/said" || {
        cat "$scratch/said" >&2
        fail "it was not said: $1"
    }
}

attempt "nonsense"
expect 'LUMIQ_SIMULATOR_DEVICES: "nonsense" is not PATH=DESCRIPTION'

attempt "=$LUMIQ_CAMERAS/stepwise.json:/dev/video0="
expect 'is not PATH=DESCRIPTION'

attempt "/dev/video0=$scratch/missing.json"
expect "/dev/video0: $scratch/missing.json cannot be read"
expect "No such file or directory"

echo '{"name": "x", "formats": []}' >"$scratch/bad.json"
attempt "/dev/video0=$scratch/bad.json"
expect "/dev/video0: $scratch/bad.json: /formats: an array of 1 to"
expect "No such device"

echo 'garbage' >"$scratch/worse.json"
attempt "/dev/video0=$scratch/worse.json"
expect "not a JSON text"

# A good one is a character device that can be opened but not read.
attempt "/dev/video0=$LUMIQ_CAMERAS/stepwise.json"
expect "Invalid argument"
with_cameras "/dev/video0=$LUMIQ_CAMERAS/stepwise.json" stat -c '%F %t:%T' /dev/video0 \
    >"$scratch/said"
expect "character special file 51:0"
