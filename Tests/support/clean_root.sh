# Sourced by tests that need a Debian system on which nothing of this one was installed.

# make_root FOLDER [SUITE]: the smallest Debian of a suite, else of this machine's own, from where this machine has its
# packages. Ends the test as skipped where it cannot be had.
make_root() {
    local root=$1 suite own source log script settings
    [[ $(id -u) -eq 0 ]] || { echo "skipped: making a root takes root" >&2; exit 77; }
    command -v debootstrap >/dev/null || { echo "skipped: debootstrap is not installed" >&2; exit 77; }
    own=$(. /etc/os-release && echo "$VERSION_CODENAME")
    suite=${2:-$own}
    source=$(apt-get indextargets --format '$(REPO_URI)' "Created-By: Packages" "Codename: $own" | head -n 1)
    [[ -n $source ]] || { echo "skipped: no package source is known; apt-get update finds them" >&2; exit 77; }
    # A suite that is younger than debootstrap is made like the one that never is released.
    script=/usr/share/debootstrap/scripts/$suite
    [[ -e $script ]] || script=/usr/share/debootstrap/scripts/sid
    rm -rf "$root"
    mkdir -p "$root"
    log=$root.log
    debootstrap --variant=minbase "$suite" "$root" "$source" "$script" >"$log" 2>&1 || { tail -n 20 "$log" >&2; return 1; }
    # Its packages come from where this machine's come from, by the same settings. Files of packages are left out: dpkg
    # would stop to ask which version to keep when the suite's own package brings the file. A copy of a suite that is
    # still in motion may be older than its index says that it may be.
    echo "deb $source $suite main" >"$root/etc/apt/sources.list"
    for settings in /etc/apt/apt.conf.d/*; do
        dpkg-query -S "$settings" >/dev/null 2>&1 || cp "$settings" "$root/etc/apt/apt.conf.d/"
    done
    echo 'Acquire::Check-Valid-Until "false";' >"$root/etc/apt/apt.conf.d/99-any-age"
    # Nothing here has to outlive a loss of power, and without waiting for the disk dpkg takes a fraction of the time.
    echo force-unsafe-io >"$root/etc/dpkg/dpkg.cfg.d/unsafe-io"
    cp /etc/resolv.conf /etc/hosts "$root/etc/"
}

# in_root FOLDER COMMAND...: runs it there with an environment of its own. Mounts and processes are gone with its end.
in_root() {
    local root=$1
    shift
    unshare --mount --pid --fork --kill-child bash -c '
        root=$1
        shift
        mount -t proc proc "$root/proc"
        mount -t devpts -o newinstance,ptmxmode=0666 devpts "$root/dev/pts"
        mount --bind "$root/dev/pts/ptmx" "$root/dev/ptmx"
        mount -t tmpfs tmpfs "$root/dev/shm"
        exec chroot "$root" env -i HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin LANG=C.UTF-8 TERM=xterm-256color "$@"
    ' in_root "$root" "$@"
}
