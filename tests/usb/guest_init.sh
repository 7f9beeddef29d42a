#!/bin/busybox sh
# First process of the usb lane's guest: mounts, loads the modules, makes two adapters as USB gadgets, unbound, and
# hands over to the scenarios. Whatever happens, the machine is switched off in the end.

/bin/busybox --install -s /bin
export PATH=/bin LD_LIBRARY_PATH=/opt/ferrylink/lib HOME=/root
mount -t devtmpfs devtmpfs /dev
mount -t proc proc /proc
mount -t sysfs sysfs /sys
mkdir -p /dev/shm
mount -t tmpfs -o mode=1777 tmpfs /dev/shm
mount -t tmpfs -o mode=1777 tmpfs /tmp
ip link set lo up 2>/dev/null

finish() {
  echo "guest: $1"
  sync
  poweroff -f
}

for module in $(cat /modules/order); do
  case $module in
    dummy_hcd.ko) insmod "/modules/$module" num=2 ;;
    *) insmod "/modules/$module" ;;
  esac || finish "cannot load $module"
done
mount -t configfs configfs /sys/kernel/config || finish "no configfs"

# One HID function: 64 bytes in, 64 bytes out, no report ids.
report='\x06\x00\xff\x09\x01\xa1\x01\x15\x00\x26\xff\x00\x75\x08\x95\x40\x09\x02\x81\x02\x09\x03\x91\x02\xc0'
make_adapter() { # NAME SERIAL MANUFACTURER
  gadget=/sys/kernel/config/usb_gadget/$1
  mkdir "$gadget" && cd "$gadget" || return
  echo 0x2508 >idVendor
  echo 0x0032 >idProduct
  mkdir strings/0x409
  [ -z "$2" ] || echo "$2" >strings/0x409/serialnumber
  [ -z "$3" ] || echo "$3" >strings/0x409/manufacturer
  echo "Titan Two" >strings/0x409/product
  mkdir functions/hid.0
  echo 64 >functions/hid.0/report_length
  printf "$report" >functions/hid.0/report_desc
  mkdir configs/c.1
  ln -s functions/hid.0 configs/c.1/
  cd /
}
make_adapter first 12345678 ConsoleTuner || finish "cannot make the first adapter"
make_adapter second 87654321 ConsoleTuner || finish "cannot make the second adapter"

if grep -qw ferrylink_shell /proc/cmdline; then
  setsid cttyhack sh
  finish "the shell ended"
fi
cd /tmp
# The second serial line ends in a file outside.
/opt/ferrylink/bin/ferrylink_usb_scenarios /dev/ttyS1
finish "the scenarios ended with $?"
