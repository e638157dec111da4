# Sourced by tests that need a Debian system on which nothing of this one was installed.

# make_root FOLDER: the smallest Debian of this machine's own release and package source. Ends the test as skipped where
# it cannot be had.
make_root() {
    local root=$1 source release log
    [[ $(id -u) -eq 0 ]] || { echo "skipped: making a root takes root" >&2; exit 77; }
    command -v debootstrap >/dev/null || { echo "skipped: debootstrap is not installed" >&2; exit 77; }
    release=$(. /etc/os-release && echo "$VERSION_CODENAME")
    source=$(apt-get indextargets --format '$(REPO_URI)' "Created-By: Packages" "Codename: $release" | head -n 1)
    [[ -n $source ]] || { echo "skipped: no package source is known; apt-get update finds them" >&2; exit 77; }
    rm -rf "$root"
    mkdir -p "$root"
    log=$root.log
    debootstrap --variant=minbase "$release" "$root" "$source" >"$log" 2>&1 || { tail -n 20 "$log" >&2; return 1; }
    # Its packages come from where this machine's come from.
    rm -f "$root/etc/apt/sources.list"
    cp -r /etc/apt/sources.list* /etc/apt/apt.conf.d "$root/etc/apt/"
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
