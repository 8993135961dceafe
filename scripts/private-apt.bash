# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# apt with lists, cache and sources of its own, for packages of another release or another machine:
# the machine's own apt and what it has installed stay as they are. Sourced after machine.bash.

# private_apt FOLDER COMMAND...: apt-get or apt-cache, on the folder's own state. With
# private_apt_architecture set, for that architecture and as if nothing were installed.
private_apt() {
    local folder=$1 tool=$2 options
    shift 2
    options=(-o Dir::Etc::SourceList=/dev/null -o Dir::Etc::SourceParts="$folder/sources"
        -o Dir::Etc::Preferences=/dev/null -o Dir::Etc::PreferencesParts=/dev/null
        -o Dir::State::Lists="$folder/lists" -o Dir::Cache="$folder/cache"
        -o APT::Sandbox::User= -o APT::Update::Error-Mode=any)
    if [[ -n ${private_apt_architecture:-} ]]; then
        options+=(-o APT::Architecture="$private_apt_architecture"
            -o APT::Architectures="$private_apt_architecture"
            -o Dir::State::Status="$folder/status" -o Debug::NoLocking=1)
    fi
    "$tool" "${options[@]}" "$@"
}

# private_apt_open FOLDER RECORD TYPE SUITE...: writes the folder's sources (TYPE is deb or deb-src) for
# the first of the machine's own mirrors that has the suites, and fetches their lists.
private_apt_open() {
    local folder=$1 record=$2 type=$3 mirror keyring
    shift 3
    mkdir -p "$folder/sources" "$folder/lists/partial" "$folder/cache/archives/partial"
    : >"$folder/status"
    while read -r mirror; do
        while read -r keyring; do
            printf 'Types: %s\nURIs: %s\nSuites: %s\nComponents: main\nSigned-By: %s\n' \
                "$type" "$mirror" "$*" "$keyring" >"$folder/sources/$1.sources"
            echo "Asking $mirror for $*, vouched for by $keyring" >>"$record"
            ! private_apt "$folder" apt-get update >>"$record" 2>&1 </dev/null || return 0
        done < <(debian_keyrings)
    done < <(debian_mirrors)
    return 1
}
