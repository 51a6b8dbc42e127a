# Packages of the distribution that a script needs. Sourced by the scripts in the root: bash, `set -euo pipefail`.

# need_packages PACKAGE...: installs those that are missing, as root or through sudo, and says so. Ends the script
# with a remedy where that is impossible.
need_packages() {
    local package missing=() asRoot=()
    for package in "$@"; do
        if [[ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)" != installed ]]; then
            missing+=("$package")
        fi
    done
    if ((${#missing[@]} == 0)); then
        return 0
    fi
    if ! command -v apt-get >/dev/null; then
        echo "These Debian packages are missing: ${missing[*]}" >&2
        echo "There is no apt-get here: install what your system calls them, or use Debian 12." >&2
        exit 1
    fi
    if ((EUID != 0)); then
        if ! command -v sudo >/dev/null; then
            echo "These packages are missing. As root, run:" >&2
            echo "    apt-get update && apt-get install --no-install-recommends ${missing[*]}" >&2
            exit 1
        fi
        asRoot=(sudo)
    fi
    echo "Installing packages: ${missing[*]}"
    local install=("${asRoot[@]}" env DEBIAN_FRONTEND=noninteractive
        apt-get install -y -q --no-install-recommends "${missing[@]}")
    # The lists of a machine may be older than the packages they name: fetch them only where they are missing or
    # the installation fails without.
    "${install[@]}" || { "${asRoot[@]}" apt-get update -q && "${install[@]}"; } || {
        echo "apt-get could not install all of: ${missing[*]}" >&2
        echo "Its own words are above. Install them by hand, then start this again." >&2
        exit 1
    }
}
