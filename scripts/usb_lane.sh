#!/usr/bin/env bash
# The usb lane: the built plug-in and the real hidapi against a USB gadget, on a Debian kernel that boots in software
# emulation. Prepares the kernel and the programs, then lets ctest boot the guest and collect what it found.
#
#   scripts/usb_lane.sh            everything
#   scripts/usb_lane.sh --shell    a shell in the guest, with both gadgets made and nothing running

source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

lane=$root/build/release/usb_lane

# The kernel's package is unpacked, never installed: it is the guest's. The cloud flavour has no gadgets.
fetch_kernel() {
  [ -z "$(find "$lane/kernel/boot" -name 'vmlinuz-*' -print -quit 2>/dev/null)" ] || return 0
  [ "$(uname -m)" = x86_64 ] || die "the usb lane cannot run here: it needs an x86_64 machine, for its kernel and programs"
  local package
  package=$(apt-cache depends linux-image-amd64 2>/dev/null | sed -n 's/.*Depends: \(linux-image-[0-9].*\)/\1/p' | head -n 1)
  [ -n "$package" ] || die "the usb lane cannot run here: apt knows no linux-image-amd64"
  say "Fetching $package for the guest"
  mkdir -p "$lane/packages"
  (cd "$lane/packages" && apt-get download -qq "$package") || die "the usb lane cannot run here: $package cannot be fetched"
  rm -rf "$lane/kernel.new"
  dpkg-deb -x "$lane"/packages/"${package}"_*.deb "$lane/kernel.new"
  rm -rf "$lane/kernel" "$lane/packages"
  mv "$lane/kernel.new" "$lane/kernel"
}

need "${packages[@]}" qemu-system-x86 busybox-static cpio udev
build release --target ferrylink_usb_guest
fetch_kernel
if [ "${1:-}" = --shell ]; then
  exec tests/usb/boot_guest.sh "$lane" "$root/build/release" shell
fi
rm -f "$lane"/*_results.txt
status=0
ctest --preset usb || status=$?
if [ -f "$lane/figures_results.txt" ]; then
  say "Figures"
  tr -d '\r' <"$lane/figures_results.txt" | sed -n 's/^figure //p' | tee "$lane/figures.txt" >&2
fi
exit $status
