# Sourced by the commands of the project: packages and builds.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# One cache of compiled files serves every copy of the tree.
export CCACHE_BASEDIR=$root CCACHE_NOHASHDIR=1
# What it needs to know of precompiled headers.
export CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime

# show_progress TITLE: tells how far a work is whose lines "N/ALL ..." come on standard input: in one line that moves on
# a terminal, otherwise in a line at each tenth. Other lines are left out.
show_progress() {
    local title=$1 now all tenth=-1
    while IFS=/ read -r now all; do
        all=${all%%[!0-9]*}
        [[ $now =~ ^[1-9][0-9]*$ && $all =~ ^[1-9][0-9]*$ ]] || continue
        if [ -t 2 ]; then
            printf '\r%s: %d of %d ' "$title" "$now" "$all" >&2
        elif [ $((now * 10 / all)) -ne "$tenth" ]; then
            tenth=$((now * 10 / all))
            printf '%s: %d of %d\n' "$title" "$now" "$all" >&2
        fi
    done
    [ ! -t 2 ] || printf '\r\033[K' >&2
}

# install_packages FILE...: installs what is missing of the packages named in the files. A package with the name of a
# command after it is missing only when the command is.
install_packages() {
    local missing=() package command installed
    installed=$(dpkg-query -W -f='${Package} ${db:Status-Status}\n' | sed -n 's/ installed$//p')
    while read -r package command; do
        [ -n "$command" ] && command -v "$command" >/dev/null && continue
        grep -qxF "$package" <<<"$installed" || missing+=("$package")
    done < <(grep -hv '^#' "$@")
    [ ${#missing[@]} -eq 0 ] && return 0
    local as_root=()
    [ "$(id -u)" -eq 0 ] || as_root=(sudo)
    echo "Installing: ${missing[*]}" >&2
    "${as_root[@]}" apt-get update -qq
    # Each package is told when it is fetched, unless it is there, when it is unpacked and when it is set up.
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y --no-install-recommends "${missing[@]}" |
        awk '/newly installed/ { some = $1 + $3 }
             /^Get:/ && n < some { print ++n "/" 3 * some; fflush() }
             /^Unpacking/ && n < some { n = some }
             /^(Unpacking|Setting up)/ { print ++n "/" 3 * some; fflush() }' |
        show_progress 'Installing packages'
}

# install_node_modules FOLDER: installs what the folder's package-lock.json names, unless it is there.
install_node_modules() {
    [ "$1/node_modules/.package-lock.json" -nt "$1/package-lock.json" ] && return 0
    (cd "$1" && npm ci --no-audit --no-fund --loglevel=error >/dev/null)
}

# folder_of PRESET: the build folder of a preset of CMakePresets.json.
folder_of() {
    case $1 in
    run | panel | test | benchmarks) echo "$root/build/release" ;;
    fuzz) echo "$root/build/clang" ;;
    *) echo "$root/build/$1" ;;
    esac
}

# is_configured PRESET: whether its folder was configured for it, or for a preset that holds it.
is_configured() {
    local folder
    folder=$(folder_of "$1")
    [ -f "$folder/build.ninja" ] || return 1
    case $1 in
    panel) grep -q '^VELMART_DESKTOP:BOOL=ON' "$folder/CMakeCache.txt" ;;
    test) grep -q '^VELMART_TESTS:BOOL=ON' "$folder/CMakeCache.txt" ;;
    benchmarks) grep -q '^VELMART_BENCHMARKS:BOOL=ON' "$folder/CMakeCache.txt" ;;
    esac
}

# build PRESET [TARGET...]: configures, unless that was done before, and builds.
build() {
    local preset=$1 folder log
    folder=$(folder_of "$preset")
    log=$folder/build.log
    shift
    mkdir -p "$folder"
    : >"$log"
    if ! is_configured "$preset"; then
        echo 'Configuring the build' >&2
        if ! cmake -S "$root" --preset "$preset" >"$log" 2>&1; then
            rm -f "$folder/build.ninja"
            explain_failure "$log"
            return 1
        fi
    fi
    if ! NINJA_STATUS='%f/%t ' cmake --build "$folder" --target "${@:-all}" 2>&1 | tee -a "$log" |
        show_progress 'Building'; then
        explain_failure "$log"
        return 1
    fi
}

# explain_failure LOG
explain_failure() {
    grep -E -A4 'error|Error|FAILED' "$1" | head -60 >&2
    echo "The build has failed; the whole log is ${1#"$root"/}" >&2
}
