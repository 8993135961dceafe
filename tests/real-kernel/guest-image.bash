# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# What the virtual machine boots from, made of Debian's packages: a root file system as an image, and
# for each kernel its image and an initial file system with the modules that are wanted. Sourced by
# run-guest, after scripts/arm64-trees.bash.

: "${root:?the top folder of the sources}" "${arm64_folder:?the folder of the trees}" "${arm64_log:?its log}"

# Debian 13's, as in the sysroot, so that what was linked there finds its libraries here. No package's
# own scripts run: what they would set up stands in guest-init.
readonly guest_packages=(
    bash dash coreutils util-linux mount findutils grep sed mawk procps kmod udev busybox-static
    dbus-daemon dbus-bin dbus-system-bus-common libc-bin v4l-utils strace
    'libsdbus-c++2' libsystemd0 libudev1 libyuv0 libjpeg62-turbo libpng16-16t64 libstdc++6)

# Programs that do a similar job, for the comparison.
readonly peer_packages=(ffmpeg gstreamer1.0-tools gstreamer1.0-plugins-base gstreamer1.0-plugins-good)

# What booting takes, and the drivers that are looked at.
readonly guest_modules=(virtio_pci virtio_blk ext4 9p 9pnet_virtio vivid uvcvideo vhci_hcd)

# What ext4 asks for by itself; newer kernels have it built in.
readonly guest_modules_if_there=(crc32c_generic)

# The suite whose kernel goes by that name.
kernel_suite() {
    case $1 in
        12) echo bookworm ;;
        13) echo trixie ;;
        newest) echo trixie trixie-backports ;;
    esac
}

# Leaves the image's path in guest_image and its content's in guest_tree. Argument: with the peers'
# packages too (yes), or not.
make_guest_image() {
    local with_peers=$1 name=guest packages=("${guest_packages[@]}")
    if [[ $with_peers == yes ]]; then
        name=guest-with-peers
        packages+=("${peer_packages[@]}")
    fi
    arm64_tree "$name" trixie . "${packages[@]}" || return
    guest_tree=$arm64_folder/$name
    guest_image=$guest_tree.ext4
    [[ ! -s $guest_image || ! $guest_image -nt $guest_tree.resolved ]] || return 0
    rm -rf "$guest_tree/usr/share/"{doc,man,locale}
    rm -f "$guest_image.part"
    mke2fs -q -t ext4 -m 0 -O ^has_journal -d "$guest_tree" "$guest_image.part" \
        "$(($(du -sm "$guest_tree" | cut -f 1) * 5 / 4 + 64))m" >>"$arm64_log" 2>&1 || return
    mv "$guest_image.part" "$guest_image"
}

# modprobe's lines for the modules and those they need.
modules_of() {
    local tree=$1 version=$2 module
    for module in "${guest_modules[@]}"; do
        modprobe -d "$tree" -S "$version" --show-depends "$module" || return
    done
    for module in "${guest_modules_if_there[@]}"; do
        modprobe -d "$tree" -S "$version" --show-depends "$module" 2>/dev/null || true
    done
}

# Debian 13's modules are compressed; modprobe in the guest would unpack each at every boot.
unpack_modules() {
    local folder=$1
    find "$folder" -name '*.ko.xz' -print0 | xargs -0 -r -n 64 -P "$(nproc)" unxz --force
}

# The initial file system: busybox, the wanted modules, and boot-init.
make_initrd() {
    local tree=$1 version=$2 initrd=$3 part file modules
    modules=$(modules_of "$tree" "$version") || {
        echo "the kernel $version lacks a module, or modprobe cannot read its list" >&2
        return 1
    }
    part=$tree.initrd-part
    rm -rf "$part"
    mkdir -p "$part"/{bin,proc,sys,dev,newroot}
    cp "$guest_tree/usr/bin/busybox" "$part/bin/" || return
    while read -r file; do
        install -D -m 644 "$file" "$part/usr/${file#"$tree/"}" || return
    done < <(awk '$1 == "insmod" && !seen[$2]++ { print $2 }' <<<"$modules")
    ln -s usr/lib "$part/lib"
    cp "$tree/lib/modules/$version/modules.builtin" "$tree/lib/modules/$version/modules.order" \
        "$tree/lib/modules/$version/modules.builtin.modinfo" \
        "$part/lib/modules/$version/" || return
    depmod -b "$part" "$version" || return
    install -m 755 "$root/tests/real-kernel/boot-init" "$part/init" || return
    (cd "$part" && find . | cpio --quiet -o -H newc --owner 0:0) >"$initrd.part" || return
    mv "$initrd.part" "$initrd"
    rm -rf "$part"
}

# After make_guest_image. Leaves the paths in kernel_image and kernel_initrd, and in kernel_version what
# the kernel calls itself.
make_kernel() {
    local name=kernel-$1 suite tree=$arm64_folder/kernel-$1
    suite=$(kernel_suite "$1")
    arm64_tree "$name" "$suite" 'linux-(image|modules|binary|base-[0-9])' linux-image-arm64 || return
    # Older packages have the kernel in /boot, newer ones among its modules.
    kernel_image=$(find "$tree/boot" "$tree/usr/lib/modules" -name 'vmlinu[xz]*' 2>/dev/null | head -n 1)
    kernel_version=$(cd "$tree/lib/modules" && echo *)
    [[ -r $kernel_image ]] || {
        echo "there is no kernel in $tree" >&2
        return 1
    }
    kernel_initrd=$tree.initrd
    if [[ ! $kernel_initrd -nt $tree.resolved ||
        ! $kernel_initrd -nt $root/tests/real-kernel/boot-init ||
        ! $kernel_initrd -nt ${BASH_SOURCE[0]} ]]; then
        unpack_modules "$tree/lib/modules/$kernel_version" &&
            depmod -b "$tree" "$kernel_version" &&
            make_initrd "$tree" "$kernel_version" "$kernel_initrd" || return
    fi
}
