#!/usr/bin/env bash
# Runs idle_bench of a build folder of the preset "bench" on an X display, then on GNOME's compositor, then on sway:
#
#     tests/peers/keyring bench/idle_ticks.sh BUILD [SECONDS]
set -eu
bench=$(realpath "$1")/bench/idle_bench seconds=${2:-30}
exec {number}< <(exec Xvfb -displayfd 1 -nolisten tcp 2>/dev/null); peers=($!)
trap 'kill "${peers[@]}" 2>/dev/null' EXIT
read -r -u "$number" display
DISPLAY=:$display "$bench" "$seconds"

GSETTINGS_BACKEND=memory mutter --headless --wayland --no-x11 --virtual-monitor 640x480 2>/dev/null & peers+=($!)
gdbus wait --session --timeout 10 org.gnome.Mutter.IdleMonitor
"$bench" "$seconds"
kill "${peers[1]}"; wait "${peers[1]}" || true

# Sway runs for anybody but root.
as=(); [ "$(id -u)" != 0 ] || as=(setpriv --reuid=65534 --regid=65534 --clear-groups)
XDG_RUNTIME_DIR=$(mktemp -d); export XDG_RUNTIME_DIR; chmod 777 "$XDG_RUNTIME_DIR"
trap 'kill "${peers[@]}" 2>/dev/null; rm -rf "$XDG_RUNTIME_DIR"' EXIT
echo "exec sh -c 'echo \$WAYLAND_DISPLAY >&3'" >"$XDG_RUNTIME_DIR/config"; mkfifo "$XDG_RUNTIME_DIR/ready"
"${as[@]}" env HOME="$XDG_RUNTIME_DIR" WLR_BACKENDS=headless WLR_RENDERER=pixman \
  sway -c "$XDG_RUNTIME_DIR/config" 3>"$XDG_RUNTIME_DIR/ready" 2>/dev/null & peers+=($!)
read -r WAYLAND_DISPLAY <"$XDG_RUNTIME_DIR/ready"; export WAYLAND_DISPLAY
"$bench" "$seconds"
