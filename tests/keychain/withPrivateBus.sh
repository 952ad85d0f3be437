#!/bin/sh
# Runs a test with a session bus, a home and a runtime directory of its own, which go with it. The bus starts no service
# by itself: whether there is a keyring is the test's decision.
set -eu
# The keyring wants to own its runtime directory; its socket's path must be short.
home=$(mktemp -d /tmp/keyring.XXXXXX)
trap 'rm -rf "$home"' EXIT INT TERM
mkdir -m 700 "$home/run" "$home/data" "$home/config" "$home/cache" "$home/state"
export HOME="$home" XDG_RUNTIME_DIR="$home/run" XDG_DATA_HOME="$home/data" XDG_CONFIG_HOME="$home/config" \
    XDG_CACHE_HOME="$home/cache" XDG_STATE_HOME="$home/state"
unset DISPLAY WAYLAND_DISPLAY DBUS_SESSION_BUS_ADDRESS
cat >"$home/bus.conf" <<END
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:dir=$home/run</listen>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
END
status=0
dbus-run-session --config-file="$home/bus.conf" -- "$@" || status=$?
exit "$status"
