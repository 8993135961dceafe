#!/bin/sh
# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# Programs that have nothing to do with cameras do the same with and without the library.

. "$(dirname "$0")/run-tool.sh"

work() {
    seq 1 2000 | sort -rn | tee "$scratch/copy" | md5sum
    dd if="$scratch/copy" of="$scratch/other" bs=100 skip=3 count=7 conv=notrunc 2>/dev/null
    md5sum "$scratch/other" | cut -d' ' -f1
    stat -c '%s %F' "$scratch/copy" "$scratch" /dev/null
    tail -c 100 "$scratch/copy" | od -c | head -n 3
    cat "$scratch/nothing" 2>&1 || echo "$?"
    ls /dev/null "$scratch"
    rm "$scratch/copy" "$scratch/other"
}

touch "$scratch/said"
work >"$scratch/expected"
export LD_PRELOAD="$LUMIQ_SIMULATOR"
export LUMIQ_SIMULATOR_DEVICES="/dev/video0=$LUMIQ_CAMERAS/stepwise.json"
work >"$scratch/said"
unset LD_PRELOAD
diff "$scratch/expected" "$scratch/said" >&2 || fail "a program's output differs"
