# Sourced by the commands of the project: packages and builds.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# One cache of compiled files serves every copy of the tree.
export CCACHE_BASEDIR=$root CCACHE_NOHASHDIR=1

# install_packages FILE...: installs what is missing of the packages named in the files. A package with the name of a
# command after it is missing only when the command is.
install_packages() {
    local missing=()
    local package command
    while read -r package command; do
        [ -n "$command" ] && command -v "$command" >/dev/null && continue
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing+=("$package")
    done < <(grep -hv '^#' "$@")
    [ ${#missing[@]} -eq 0 ] && return 0
    local as_root=()
    [ "$(id -u)" -eq 0 ] || as_root=(sudo)
    echo "Installing: ${missing[*]}"
    "${as_root[@]}" apt-get update -qq
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

# install_node_modules FOLDER: installs what the folder's package-lock.json names, unless it is there.
install_node_modules() {
    [ "$1/node_modules/.package-lock.json" -nt "$1/package-lock.json" ] && return 0
    (cd "$1" && npm ci --no-audit --no-fund --loglevel=error >/dev/null)
}

# build FOLDER [CMAKE OPTION...]: configures and builds below build/, quietly unless something fails.
build() {
    local folder=$root/build/$1
    shift
    mkdir -p "$folder"
    if ! { cmake -S "$root" -B "$folder" -G Ninja "$@" && cmake --build "$folder"; } >"$folder/build.log" 2>&1; then
        grep -E -A4 'error|Error|FAILED' "$folder/build.log" | head -60 >&2
        echo "The build has failed; the whole log is build/${folder##*/}/build.log" >&2
        return 1
    fi
}
