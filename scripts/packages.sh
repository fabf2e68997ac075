# Installs missing Debian packages. Read by lib.sh.

# Whether NAME or NAME:ARCHITECTURE is installed; a plain name is the machine's own architecture.
is_installed() {
    local architecture=${1#*:}
    [ "$architecture" != "$1" ] || architecture="($(dpkg --print-architecture)|all)"
    [[ $(dpkg-query -W -f '${Architecture} ${db:Status-Status}\n' "${1%:*}" 2>/dev/null) =~ (^|$'\n')$architecture\ installed($|$'\n') ]]
}

# install_packages NAME...: installs the missing ones; silent when none is missing. A name with :i386
# adds that architecture first.
install_packages() {
    local package missing=()
    for package in "$@"; do
        is_installed "$package" || missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0

    [ "$(id -u)" = 0 ] || die "packages are missing and only root can install them: ${missing[*]}"
    say "Installing: ${missing[*]}"
    case " ${missing[*]}" in
        *:i386*)
            if ! dpkg --print-foreign-architectures | grep -qx i386; then
                say "Adding the i386 architecture for 32-bit Wine"
                dpkg --add-architecture i386
            fi
            ;;
    esac

    local log
    log=$(mktemp)
    if apt-get update >"$log" 2>&1 && apt_install "${missing[@]}" >>"$log" 2>&1; then
        say "Installed from the machine's own package sources"
    else
        # On some mirrors the security suite has different versions for i386 and amd64, so that no i386
        # package can be installed. The main and updates suites are consistent.
        say "The machine's package sources are inconsistent; installing from the main and updates suites alone"
        install_from_suites "$log" "" "${missing[@]}"
    fi
    rm -f "$log"
}

debian_release() { (. /etc/os-release && echo "$VERSION_CODENAME"); }

# with_suites deb|deb-src "SUITE..." COMMAND...: runs the command with `apt_options` that limit apt to
# these suites of the machine's mirror. The machine's own configuration is not changed.
with_suites() {
    local kind=$1 suites=$2 uri private suite status=0
    shift 2
    uri=$(apt-get indextargets --format '$(CODENAME) $(REPO_URI)' |
        sed -n "s/^$(debian_release) //p" | head -n 1)
    [ -n "$uri" ] || die "no package source for $(debian_release) found"
    private=$(mktemp -d)
    mkdir -p "$private/lists/partial"
    for suite in $suites; do
        echo "$kind [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] $uri $suite main"
    done >"$private/sources.list"
    local apt_options=(
        -o "Dir::Etc::SourceList=$private/sources.list" -o Dir::Etc::SourceParts=/dev/null
        -o "Dir::State::Lists=$private/lists" -o Dir::Cache::PkgCache= -o Dir::Cache::SrcPkgCache=
    )
    "$@" || status=$?
    rm -rf "$private"
    return $status
}

# install_from_suites LOG EXTRA NAME...: installs from the main and updates suites, or, unless EXTRA is
# "", from the suite RELEASE-EXTRA.
install_from_suites() {
    local log=$1 release extra
    release=$(debian_release)
    extra=${2:+$release-$2}
    shift 2
    install_privately() {
        apt-get "${apt_options[@]}" update && apt_install "${apt_options[@]}" ${extra:+-t "$extra"} "$@"
    }
    if ! with_suites deb "$release $release-updates $extra" install_privately "$@" >>"$log" 2>&1; then
        tail -n 20 "$log" >&2
        die "apt could not install: $*"
    fi
}

# fetch_source NAME LOG: unpacks a source package of the release into the current folder.
fetch_source() {
    local name=$1 log=$2 release
    release=$(debian_release)
    # As the calling user: apt's own user cannot write here.
    fetch_privately() {
        apt-get "${apt_options[@]}" update &&
            apt-get "${apt_options[@]}" -o "APT::Sandbox::User=$(id -un)" source "$name"
    }
    with_suites deb-src "$release $release-updates" fetch_privately >>"$log" 2>&1
}

apt_install() { DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "$@"; }
