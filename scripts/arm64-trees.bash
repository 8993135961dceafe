# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# Folders with unpacked 64-bit ARM packages of Debian: the one that the cross-build links against and
# those that the virtual machine boots from. Nothing of them is installed or run, and no root is
# needed. Sourced after machine.bash and private-apt.bash, by scripts/bootstrap and tests/real-kernel.

: "${root:?the top folder of the sources}"

readonly arm64_folder=${LUMIQ_ARM64_FOLDER:-$root/build/arm64}
[[ $arm64_folder == /* ]] || die "LUMIQ_ARM64_FOLDER is $arm64_folder; a path from the top is wanted"
readonly arm64_log=$arm64_folder/packages.log

# A resolution this many minutes old is good; after that the mirror is asked again.
readonly arm64_fresh_minutes=720

# One process at a time makes or mends trees; the others wait.
lock_arm64_trees() {
    mkdir -p "$arm64_folder"
    exec {arm64_lock}>"$arm64_folder/lock"
    flock "$arm64_lock"
}

unlock_arm64_trees() {
    exec {arm64_lock}>&-
}

# A folder with the directories that Debian has merged, as links.
make_merged_root() {
    local tree=$1 name
    for name in bin sbin lib; do
        mkdir -p "$tree/usr/$name"
        ln -s "usr/$name" "$tree/$name"
    done
}

# Arguments: apt folder, suite to prefer, packages. Gives the file name and the check sum of each
# package that the named ones need, one a line. What has been downloaded would be left out of apt's
# answer; hence an empty folder. Some lists have no check sum of the kind that apt prints by itself.
resolve_arm64() {
    local apt=$1 suite=$2
    shift 2
    mkdir -p "$apt/empty/partial"
    private_apt "$apt" apt-get install -o Dir::Cache::Archives="$apt/empty" \
        -o Acquire::ForceHash=SHA256 --print-uris -qq --yes --target-release "$suite" \
        --no-install-recommends "$@" 2>>"$arm64_log" | awk '{ print $2, $4 }' | sort
}

# A package file that is there and is what the mirror's signed lists say.
is_whole_arm64() {
    local file=$1 sum=$2
    [[ -s $file ]] && sha256sum --check --status - <<<"${sum#SHA256:}  $file"
}

# As new as today: what was built with the files before is then built again.
unpack_arm64() {
    local apt=$1 tree=$2 file
    make_merged_root "$tree"
    while read -r file _; do
        dpkg-deb --fsys-tarfile "$apt/cache/archives/$file" |
            tar -x -m -C "$tree" --keep-directory-symlink --no-same-owner || return
    done
}

# Arguments: apt folder, suites as one word. Keeps lists that are young enough.
open_arm64_suites() {
    local apt=$1 suites=$2
    [[ -z $(find "$apt/opened" -mmin "-$arm64_fresh_minutes" 2>/dev/null) ]] || return 0
    # shellcheck disable=SC2086  # several suites
    private_apt_open "$apt" "$arm64_log" deb $suites || return
    touch "$apt/opened"
}

# Deletes the downloaded packages of which no tree is made any more.
prune_arm64() {
    local apt=$1 file
    for file in "$apt"/cache/archives/*.deb; do
        grep -qsF "${file##*/} " "$arm64_folder"/*.resolved || rm -f "$file"
    done
}

# arm64_tree NAME "SUITE..." PATTERN PACKAGE...: makes $arm64_folder/NAME with the packages and what
# they need, of which only those whose file names match the regular expression are unpacked. The last
# suite is preferred. Done again only when the mirror offers something else, or something else is
# asked for. NAME.resolved is what the tree was made of, NAME.checked as old as the mirror's answer.
arm64_tree() {
    local name=$1 suites=$2 pattern=$3 apt tree=$arm64_folder/$1 resolved part asked="${*:2}"
    # shellcheck disable=SC2034  # private_apt reads it
    local private_apt_architecture=arm64
    shift 3
    if [[ -d $tree && -n $(find "$tree.checked" -mmin "-$arm64_fresh_minutes" 2>/dev/null) &&
        $(head -n 1 "$tree.resolved" 2>/dev/null) == "$asked" ]]; then
        return
    fi
    apt=$arm64_folder/apt-${suites// /-}
    # What the lists name may be gone from the mirror, for something newer: then with new lists.
    if ! renew_arm64_tree "$@" && { rm -f "$apt/opened" && ! renew_arm64_tree "$@"; }; then
        [[ -d $tree && $(head -n 1 "$tree.resolved" 2>/dev/null) == "$asked" ]] || {
            echo "the packages of $suites for 64-bit ARM cannot be had; see $arm64_log" >&2
            return 1
        }
        echo "The mirror is not within reach: taking $name as it is" >&2
    fi
}

# arm64_tree's part that asks the mirror; in its variables.
renew_arm64_tree() {
    open_arm64_suites "$apt" "$suites" || return
    resolved=$(resolve_arm64 "$apt" "${suites##* }" "$@" | grep -E "^($pattern)")
    [[ -n $resolved ]] || {
        echo "$suites has no $* for 64-bit ARM" >>"$arm64_log"
        return 1
    }
    if [[ -d $tree && $(cat "$tree.resolved" 2>/dev/null) == "$asked"$'\n'"$resolved" ]]; then
        touch "$tree.checked"
        return
    fi
    echo "Unpacking $(wc -l <<<"$resolved") packages of $suites for 64-bit ARM into ${tree#"$root/"}"
    part=$tree.part
    rm -rf "$part"
    fetch_arm64 "$apt" "$resolved" && unpack_arm64 "$apt" "$part" <<<"$resolved" || return
    # A tree without these two is made anew, should this end half-way.
    rm -f "$tree.resolved" "$tree.checked"
    rm -rf "$tree"
    mv "$part" "$tree"
    printf '%s\n%s\n' "$asked" "$resolved" >"$tree.resolved"
    touch "$tree.checked"
    prune_arm64 "$apt"
}

# Downloads the packages whose files are named, checked against the signed lists by apt. What was
# downloaded before is checked here.
fetch_arm64() {
    local apt=$1 resolved=$2 file sum package version wanted=()
    while read -r file sum; do
        ! is_whole_arm64 "$apt/cache/archives/$file" "$sum" || continue
        rm -f "$apt/cache/archives/$file"
        IFS=_ read -r package version _ <<<"$file"
        wanted+=("$package=${version//%3a/:}")
    done <<<"$resolved"
    ((${#wanted[@]})) || return 0
    (cd "$apt/cache/archives" &&
        private_apt "$apt" apt-get download "${wanted[@]}" >>"$arm64_log" 2>&1 </dev/null)
}
