# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# Many pictures on one, to be looked at. Sourced by scripts that take pictures.

# make_contact_sheet SHEET PICTURE...: four in a row, each with its name and size. Takes ImageMagick and
# a font, which scripts/bootstrap demo installs.
make_contact_sheet() {
    local sheet=$1
    shift
    montage -font DejaVu-Sans -pointsize 13 -background '#303030' -fill white -label '%t  %wx%h' \
        "$@" -tile 4x -geometry 320x240+6+6 "$sheet"
}
