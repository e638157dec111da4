# Sourced by tests that need a Debian system on which nothing of this one was installed.

# make_root FOLDER [SUITE]: makes the smallest system of the Debian suite (by default this machine's own) from this
# machine's package source. Ends the test as skipped if that is not possible.
make_root() {
    local root=$1 suite own source log script settings
    [[ $(id -u) -eq 0 ]] || { echo "skipped: making a root takes root" >&2; exit 77; }
    command -v debootstrap >/dev/null || { echo "skipped: debootstrap is not installed" >&2; exit 77; }
    own=$(. /etc/os-release && echo "$VERSION_CODENAME")
    suite=${2:-$own}
    source=$(apt-get indextargets --format '$(REPO_URI)' "Created-By: Packages" "Codename: $own" | head -n 1)
    [[ -n $source ]] || { echo "skipped: no package source is known; apt-get update finds them" >&2; exit 77; }
    # A suite that is newer than debootstrap is made like unstable.
    script=/usr/share/debootstrap/scripts/$suite
    [[ -e $script ]] || script=/usr/share/debootstrap/scripts/sid
    rm -rf --one-file-system "$root"
    mkdir -p "$root"
    log=$root.log
    # In a mount namespace of its own: if it is interrupted, its /proc in the root is gone with it.
    unshare --mount debootstrap --variant=minbase "$suite" "$root" "$source" "$script" >"$log" 2>&1 || { tail -n 20 "$log" >&2; return 1; }
    # The root uses this machine's package source and settings, without settings files that belong to packages: if the
    # suite's own package brings the same file, dpkg would stop to ask which version to keep. The copy of a suite that
    # still changes may be older than its index allows.
    echo "deb $source $suite main" >"$root/etc/apt/sources.list"
    for settings in /etc/apt/apt.conf.d/*; do
        dpkg-query -S "$settings" >/dev/null 2>&1 || cp "$settings" "$root/etc/apt/apt.conf.d/"
    done
    echo 'Acquire::Check-Valid-Until "false";' >"$root/etc/apt/apt.conf.d/99-any-age"
    # The root need not survive a loss of power, and dpkg is much faster if it does not wait for the disk.
    echo force-unsafe-io >"$root/etc/dpkg/dpkg.cfg.d/unsafe-io"
    cp /etc/resolv.conf /etc/hosts "$root/etc/"
}

# in_root FOLDER COMMAND...: runs the command there with a clean environment. Its mounts and processes end with it.
# If root_cache names a folder, the root has it as /var/cache/ccache.
in_root() {
    local root=$1
    shift
    unshare --mount --pid --fork --kill-child bash -c '
        root=$1 cache=$2
        shift 2
        mount -t proc proc "$root/proc"
        mount -t devpts -o newinstance,ptmxmode=0666 devpts "$root/dev/pts"
        mount --bind "$root/dev/pts/ptmx" "$root/dev/ptmx"
        mount -t tmpfs tmpfs "$root/dev/shm"
        [[ -z $cache ]] || { mkdir -p "$cache" "$root/var/cache/ccache" && mount --bind "$cache" "$root/var/cache/ccache"; }
        exec chroot "$root" env -i HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin LANG=C.UTF-8 TERM=xterm-256color "$@"
    ' in_root "$root" "${root_cache:-}" "$@"
}
