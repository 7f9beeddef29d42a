#!/usr/bin/env bash
# Packs the guest of the usb lane: busybox, the kernel's USB modules, our programs as they were built, and every
# library that they load.
#
#   make_initramfs.sh KERNEL BUILD OUTPUT    KERNEL: an unpacked linux-image package; BUILD: build/release

set -euo pipefail
kernel=$1 build=$2 output=$3
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
stage=$(mktemp -d)
trap 'rm -rf "$stage"' EXIT
chmod 755 "$stage" # an ordinary user of the guest starts at its root

mkdir -p "$stage"/{bin,dev,etc,proc,root,sys,tmp,run,modules,usr/lib/udev/rules.d,opt/ferrylink/{bin,lib/plugins,examples}}
cp "$(command -v busybox)" "$stage/bin/busybox"
cp "$(command -v udevadm)" "$stage/bin/udevadm"
cp "$here/../../packaging/70-ferrylink.rules" "$stage/usr/lib/udev/rules.d/"
cp "$here/guest_init.sh" "$stage/init"
chmod 755 "$stage/init"
printf 'root:x:0:0::/root:/bin/sh\nuser:x:1000:1000::/tmp:/bin/sh\n' >"$stage/etc/passwd"
printf 'root:x:0:\nuser:x:1000:\n' >"$stage/etc/group"

# Each needs only what stands before it.
modules=(usb-common usbcore udc-core configfs libcomposite hid usbhid hid-generic usb_f_hid dummy_hcd)
: >"$stage/modules/order"
for module in "${modules[@]}"; do
  file=$(find "$kernel/lib/modules" -name "$module.ko" -print -quit)
  [ -n "$file" ] || { echo "The kernel has no module $module." >&2; exit 1; }
  cp "$file" "$stage/modules/"
  echo "$module.ko" >>"$stage/modules/order"
done

ours="$stage/opt/ferrylink"
cp "$build"/bin/{ferrylink-host,cvfeed,ferrylink-gadget,ferrylink_usb_scenarios,ferrylink_usb_bare_writer} "$ours/bin/"
cp "$build/lib/libVantorCore.so" "$ours/lib/"
cp "$build/lib/plugins/libFerryLink.so" "$ours/lib/plugins/"
cp "$here"/../../examples/*.gpc "$ours/examples/"
strip --strip-debug "$ours"/bin/* "$ours"/lib/*.so "$ours"/lib/plugins/*.so

# What the loader finds, at the same places. Ours are found through LD_LIBRARY_PATH instead of where they were built.
LD_LIBRARY_PATH="$ours/lib" ldd "$stage/bin/udevadm" "$ours"/bin/* "$ours"/lib/plugins/*.so |
  grep -o '/[^ ]*' | grep -v -e ':$' -e "^$stage" | sort -u |
  while read -r library; do
    mkdir -p "$stage$(dirname "$library")"
    cp -L "$library" "$stage$library"
  done

mkdir -p "$(dirname "$output")"
(cd "$stage" && find . -print0 | cpio --null --create --format=newc --owner=0:0 --quiet | gzip -1) >"$output.new"
mv "$output.new" "$output"
