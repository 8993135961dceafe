# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# What the scripts ask of the machine they run on: which Debian, which mirror, who may install.
# Sourced by everything in scripts/ that says die, and by run-guest; defines functions and runs nothing.

# Ends the script with a message for its user.
die() {
    printf '%s: %s\n' "${0##*/}" "$*" >&2
    exit 1
}

# "12", "13", or nothing on another system.
debian_release() {
    local id='' version=''
    if [[ -r /etc/os-release ]]; then
        id=$(. /etc/os-release && printf '%s' "${ID:-}")
        version=$(. /etc/os-release && printf '%s' "${VERSION_ID:-}")
    fi
    if [[ $id == debian && ($version == 12 || $version == 13) ]]; then
        printf '%s' "$version"
    fi
}

debian_codename() {
    case $1 in
        12) printf bookworm ;;
        13) printf trixie ;;
    esac
}

# True when as_root will work. At a terminal sudo asks for a password now, and then no more.
can_be_root() {
    [[ $(id -u) != 0 ]] || return 0
    command -v sudo >/dev/null || return
    if [[ -t 0 ]]; then
        sudo -v
    else
        sudo -n true 2>/dev/null
    fi
}

# Runs a command as root: directly, or through sudo.
as_root() {
    if [[ $(id -u) == 0 ]]; then
        "$@"
    else
        sudo -n -- "$@"
    fi
}

# The simulated camera is preloaded into programs, by a list of paths that knows no quoting (ld.so(8)).
refuse_unquotable_folder() {
    [[ $1 != *[[:space:]:\;]* ]] || die "$1 has a blank, a colon or a semicolon in its name, which
cannot be preloaded from; clone into another folder"
}

# The addresses that this machine's own apt configuration has for Debian's main archive, best first.
# Asked of apt itself, which reads both forms of sources files.
debian_mirrors() {
    # shellcheck disable=SC2016  # apt fills the fields in, not the shell
    apt-get indextargets --format '$(REPO_URI) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' |
        awk '$3 == "main" && $2 !~ /-/ && $1 !~ /^(cdrom|file|copy):/ && !seen[$1]++ {
                 sub(/\/$/, "", $1); print $1 }'
}

# The keyrings that may vouch for that archive, best first: those the sources name, Debian's own.
debian_keyrings() {
    {
        # One of the two forms is missing on most machines.
        cat /etc/apt/sources.list /etc/apt/sources.list.d/*.list /etc/apt/sources.list.d/*.sources \
            2>/dev/null || true
        printf 'Signed-By: %s\n' /usr/share/keyrings/debian-archive-keyring.gpg
    } | sed -nE -e 's/^deb .*signed-by=([^] ]+).*/\1/p' -e 's/^Signed-By: *(\/[^ ]+) *$/\1/Ip' |
        awk '!seen[$0]++' |
        while read -r keyring; do
            [[ ! -r $keyring ]] || printf '%s\n' "$keyring"
        done
}
