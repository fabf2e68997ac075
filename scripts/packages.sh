# Debian packages: which are missing, and ways of installing them. Read by lib.sh.

# A plain name stands for the machine's own architecture, also where a foreign one is there too.
is_installed() {
    local architecture=${1#*:}
    [ "$architecture" != "$1" ] || architecture="($(dpkg --print-architecture)|all)"
    [[ $(dpkg-query -W -f '${Architecture} ${db:Status-Status}\n' "${1%:*}" 2>/dev/null) =~ (^|$'\n')$architecture\ installed($|$'\n') ]]
}

# install_packages NAME...: installs those that are missing and says so; silent when none is. Names
# with :i386 add that architecture first.
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
        # On some mirrors the security suite's i386 index is out of step with its amd64 one; then
        # the two architectures offer different versions and nothing of i386 can be installed. The
        # main and updates suites alone agree with each other.
        say "The machine's package sources do not agree, often by the security suite's i386 index."
        say "Using the main and updates suites alone for this installation."
        install_from_suites "$log" "" "${missing[@]}"
    fi
    rm -f "$log"
}

# with_private_list ENTRIES COMMAND...: runs the command with `apt_options` set so that apt reads the
# release's main and updates suites alone, and the suite release-EXTRA when the variable `extra` says
# so. ENTRIES names what they hold: "deb" or "deb-src". The machine's own sources stay as they are.
with_private_list() {
    local entries=$1 release uri private suite status=0
    shift
    release=$(. /etc/os-release && echo "$VERSION_CODENAME")
    uri=$(apt-get indextargets --format '$(REPO_URI) $(CODENAME)' |
        awk -v r="$release" '$2 == r { print $1; exit }')
    [ -n "$uri" ] || die "no package source for $release found"
    private=$(mktemp -d)
    mkdir -p "$private/lists/partial"
    for suite in "$release" "$release-updates" ${extra:+"$release-$extra"}; do
        echo "$entries [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] $uri $suite main"
    done >"$private/sources.list"
    local apt_options=(
        -o "Dir::Etc::SourceList=$private/sources.list" -o Dir::Etc::SourceParts=/dev/null
        -o "Dir::State::Lists=$private/lists" -o Dir::Cache::PkgCache= -o Dir::Cache::SrcPkgCache=
    )
    "$@" || status=$?
    rm -rf "$private"
    return $status
}

# install_from_suites LOG EXTRA NAME...: by a private list, with the suite release-EXTRA when EXTRA is
# given.
install_from_suites() {
    local log=$1 extra=$2
    shift 2
    install_privately() {
        apt-get "${apt_options[@]}" update && apt_install "${apt_options[@]}" \
            ${extra:+-t "$(. /etc/os-release && echo "$VERSION_CODENAME")-$extra"} "$@"
    }
    if ! with_private_list deb install_privately "$@" >>"$log" 2>&1; then
        tail -n 20 "$log" >&2
        die "apt could not install: $*"
    fi
}

# fetch_source NAME LOG: unpacks a source package of the release into the current folder.
fetch_source() {
    local name=$1 log=$2
    # As the calling user: apt's own could not write here.
    fetch_privately() {
        apt-get "${apt_options[@]}" update &&
            apt-get "${apt_options[@]}" -o "APT::Sandbox::User=$(id -un)" source "$name"
    }
    with_private_list deb-src fetch_privately >>"$log" 2>&1
}

apt_install() { DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "$@"; }
