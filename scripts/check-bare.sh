#!/usr/bin/env bash
# Runs both commands of the README on a bare Debian 12: a chroot with its minimal packages and HEAD of this repository,
# where the scripts install the rest. Prints how long each took; exit code 0: all passed. Run as root; packages come
# from this machine's apt sources. The bare system is kept in ~/.cache/quillmark.
#
#   scripts/check-bare.sh [COMMAND...]     each COMMAND is a shell command line (default: scripts/test.sh, scripts/demo.sh)
#
# JOBS sets how many jobs run at once (default: the number of processors).
set -euo pipefail
cd "$(dirname "$0")/.."
[ $# -gt 0 ] || set -- scripts/test.sh scripts/demo.sh
suite=bookworm
cache=${QUILLMARK_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/quillmark}
base=$cache/$suite-minbase.tar

[ "$(id -u)" -eq 0 ] || {
  echo "check-bare.sh: must run as root to make a chroot" >&2
  exit 1
}
# In new namespaces: however this script ends, its mounts and processes end with it.
if [ -z "${QUILLMARK_BARE:-}" ]; then
  scripts/packages.sh bare
  QUILLMARK_BARE=$(mktemp -d)
  export QUILLMARK_BARE
  unshare --mount --pid --mount-proc --fork --kill-child scripts/check-bare.sh "$@" &
  trap 'kill $! 2>/dev/null || true; wait $! || true; rm -rf --one-file-system "$QUILLMARK_BARE"' EXIT
  trap 'exit 130' INT TERM
  wait $!
  exit
fi
root=$QUILLMARK_BARE

if [ ! -e "$base" ]; then
  # shellcheck disable=SC2016 # apt's own placeholder
  mirror=$(apt-get indextargets --format '$(REPO_URI)' "Codename: $suite" 'Created-By: Packages' | head -n 1)
  [ -n "$mirror" ] || {
    echo "check-bare.sh: no apt source for $suite" >&2
    exit 1
  }
  mkdir -p "$cache"
  debootstrap --variant=minbase "$suite" "$root" "$mirror"
  tar -C "$root" -cf "$base.part" .
  mv "$base.part" "$base"
else
  tar -C "$root" -xf "$base"
fi

chmod 755 "$root" # the base's own root folder is a temporary one's: closed to every other user

for part in apt.conf.d keyrings sources.list sources.list.d trusted.gpg.d; do
  rm -rf "$root/etc/apt/$part"
  [ ! -e "/etc/apt/$part" ] || cp -a "/etc/apt/$part" "$root/etc/apt/"
done
cp /etc/resolv.conf /etc/hosts "$root/etc/"
printf '#!/bin/sh\nexit 101\n' >"$root/usr/sbin/policy-rc.d" # no package starts a service
chmod +x "$root/usr/sbin/policy-rc.d"
mkdir "$root/quillmark"
git archive HEAD | tar -C "$root/quillmark" -x

mount -t proc proc "$root/proc"
mount --bind /dev "$root/dev"
mount -t devpts -o newinstance,ptmxmode=0666 devpts "$root/dev/pts"
mount -t tmpfs tmpfs "$root/dev/shm"

status=0
for command in "$@"; do
  echo "=== bare: $command"
  start=$SECONDS result=passed
  env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root JOBS="${JOBS:-$(nproc)}" \
    chroot "$root" sh -c "cd /quillmark && $command" || status=$? result=FAILED
  echo "=== bare: $command $result after $((SECONDS - start)) s"
  [ "$status" = 0 ] || break
done
exit "$status"
