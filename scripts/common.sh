# Functions that the commands of this folder share. Sourced, not run.

set -euo pipefail
# Debian's python3 has the packages that the checks use; another one earlier in the path may not.
export PATH="/usr/bin:$PATH"

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
command=scripts/$(basename "$0")
cd "$root"

started=$SECONDS
stepName=
stepStarted=$SECONDS
stepTimes=
# step NAME: begins a step. done_with says how long each took.
step() {
    end_step
    stepName=$*
    stepStarted=$SECONDS
    printf '\n== %s (%d s)\n' "$*" $((SECONDS - started))
}
end_step() {
    [ -z "$stepName" ] || stepTimes+=$(printf '%6d s  %s' $((SECONDS - stepStarted)) "$stepName")$'\n'
    stepName=
}
fail() {
    printf '\n%s: FAILED: %s\n' "$command" "$*" >&2
    exit 1
}
done_with() {
    end_step
    printf '\n%s%s: %s (%d s)\n' "$stepTimes" "$command" "$*" $((SECONDS - started))
}
trap 'fail "the step above, line $LINENO"' ERR

# need_packages LIST...: installs the missing Debian packages of the files scripts/packages-LIST. Without the permission to
# install, it prints the command to run and stops.
need_packages() {
    command -v dpkg-query >/dev/null || fail "this command sets up Debian 12; elsewhere install what scripts/packages-* name"
    local list package missing=()
    for list in "$@"; do
        while read -r package; do
            case $package in '' | '#'*) continue ;; esac
            [ "$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)" = installed ] || missing+=("$package")
        done <"scripts/packages-$list"
    done
    [ ${#missing[@]} -gt 0 ] || return 0

    local install="apt-get install -y --no-install-recommends ${missing[*]}" sudo=()
    if [ "$(id -u)" != 0 ]; then
        if command -v sudo >/dev/null && { [ -t 0 ] || sudo -n true 2>/dev/null; }; then
            sudo=(sudo)
        else
            printf 'Some Debian packages are missing. Run this line as root, then this command again:\n\n    %s\n' \
                "apt-get update && $install" >&2
            fail "packages are missing"
        fi
    fi
    step "Installing ${#missing[@]} Debian packages: ${missing[*]}"
    "${sudo[@]}" apt-get update -qq
    # shellcheck disable=SC2086 # words of one command line
    "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive $install >"$(mktemp -t kiln-apt-XXXXXX.log)" 2>&1 ||
        fail "the packages could not be installed; this shows why: apt-get install ${missing[*]}"
}

# configure_and_build PRESET [TARGET...]
configure_and_build() {
    local preset=$1
    shift
    mkdir -p build
    cmake --preset "$preset" >"build/configure-$preset.log" 2>&1 || {
        cat "build/configure-$preset.log"
        fail "configuring $preset"
    }
    cmake --build --preset "$preset" ${1:+--target "$@"}
}
