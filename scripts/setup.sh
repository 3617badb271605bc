# Sourced by the other scripts. Finds what this machine lacks and installs only that.
#
#   set_up [PURPOSE...]     installs what a build needs, and what is needed for: tests, bench, docs, clang, tidy, clang19,
#                           browser, valgrind, cppcheck, packages, bare, abi, lldb, windows, arm64, i386, libcxx; ends the script if
#                           something cannot be installed
#
# What is missing is found by compiling a header, running a tool or testing a file, never by the name of a package. So a
# machine that has everything needs neither network nor root rights. apt-get is never allowed to remove a package: where Debian's
# Boost 1.81 cannot stand beside the Boost that is installed, its headers are unpacked into .deps/ instead.

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

say() { printf '%s\n' "$*" >&2; }

# compiles TEXT: true if the compiler accepts it as C++20, with .deps/ in front of the machine's headers.
compiles() {
    printf '%s\n' "$1" | "${CXX:-c++}" -std=c++20 -fsyntax-only -isystem .deps/usr/include -x c++ - >/dev/null 2>&1
}

# at_least WANTED TOOL [ARGS]: true if TOOL is there and reports that version or a later one.
at_least() {
    local wanted=$1 found
    shift
    found=$("$@" 2>/dev/null | grep -oE '[0-9]+(\.[0-9]+)+' | head -n 1) || return 1
    [ "$(printf '%s\n' "$wanted" "$found" | sort -V | head -n 1)" = "$wanted" ]
}

boost_is_there() {
    compiles '#include <boost/version.hpp>
#if BOOST_VERSION < 108100
#error "too old"
#endif
#include <boost/container_hash/hash.hpp>
#include <boost/uuid/uuid_io.hpp>'
}

# missing_packages PURPOSE...: the Debian packages, a line each, that would bring what is missing.
missing_packages() {
    local compiler=there purpose
    # CXX may name a compiler of another version, and CMake's launcher is a tool, too.
    case ${CXX:-c++} in
    clang++-* | g++-*) at_least 1 "$CXX" --version || echo "${CXX/clang++/clang}" ;;
    esac
    [ "${CMAKE_CXX_COMPILER_LAUNCHER:-}" != ccache ] || at_least 4 ccache --version || echo ccache
    compiles '#include <concepts>
#include <span>' || { compiler=missing; echo g++; }
    at_least 3.25 cmake --version || echo cmake
    at_least 1.10 ninja --version || echo ninja-build
    # Without a compiler no header can be tested. Then every package is named, and apt-get skips those that are installed.
    [ $compiler = there ] && boost_is_there || echo libboost1.81-dev
    compiles '#include <nlohmann/json.hpp>
#if NLOHMANN_JSON_VERSION_MAJOR != 3 || NLOHMANN_JSON_VERSION_MINOR < 11
#error "too old"
#endif' || echo nlohmann-json3-dev
    compiles '#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>
#if PCRE2_MAJOR != 10 || PCRE2_MINOR < 40
#error "too old"
#endif' || echo libpcre2-dev
    compiles '#include <histedit.h>' || echo libedit-dev
    compiles '#include <CLI/CLI.hpp>' || echo libcli11-dev
    for purpose in "$@"; do
        case $purpose in
        tests)
            compiles '#include <gtest/gtest.h>' || echo libgtest-dev
            compiles '#include <gmock/gmock.h>' || echo libgmock-dev
            at_least 3.9 python3 --version || echo python3
            at_least 0.29 pkg-config --version || echo pkgconf
            at_least 12 gdb --version || echo gdb
            python3 -c 'import yaml' 2>/dev/null || echo python3-yaml
            ;;
        docs)
            at_least 1.9.4 doxygen --version || echo doxygen
            command -v dot >/dev/null || echo graphviz
            [ -f /usr/share/doxygen-awesome-css/doxygen-awesome.css ] || echo doxygen-awesome-css
            at_least 3.9 python3 --version || echo python3
            ;;
        bench)
            compiles '#include <benchmark/benchmark.h>' || echo libbenchmark-dev
            at_least 3.9 python3 --version || echo python3
            ;;
        clang) at_least 14 clang++ --version || echo clang ;;
        tidy) at_least 14 clang-tidy --version || echo clang-tidy ;;
        clang19)
            at_least 19 clang++-19 --version || echo clang-19
            at_least 19 llvm-cov-19 --version || echo llvm-19
            [ -d /usr/lib/llvm-19/lib/clang/19/lib/linux ] || echo libclang-rt-19-dev
            ;;
        browser) at_least 100 chromium --version || echo chromium ;;
        valgrind) at_least 3.19 valgrind --version || echo valgrind ;;
        cppcheck) at_least 2.10 cppcheck --version || echo cppcheck ;;
        packages)
            at_least 1.21 dpkg-shlibdeps --version || echo dpkg-dev
            at_least 2.116 lintian --version || echo lintian
            ;;
        abi)
            at_least 2.2 abidw --version || echo abigail-tools
            ;;
        lldb) at_least 14 lldb --version || at_least 14 lldb-14 --version || echo lldb-14 ;;
        windows)
            # It reports no version but "12-posix".
            command -v x86_64-w64-mingw32-g++-posix >/dev/null || echo g++-mingw-w64-x86-64-posix
            command -v wine64 wine /usr/lib/wine/wine64 >/dev/null || echo wine64
            ;;
        arm64)
            at_least 12 aarch64-linux-gnu-g++ --version || echo g++-aarch64-linux-gnu
            at_least 7 qemu-aarch64 --version || echo qemu-user
            ;;
        # Debian's g++-multilib would remove every cross compiler; that of a fixed version stands beside them.
        i386) printf 'int main() {}' | g++-12 -m32 -x c++ - -o /dev/null 2>/dev/null || echo g++-12-multilib ;;
        libcxx)
            at_least 19 clang++-19 --version || echo clang-19
            [ -f /usr/lib/llvm-19/include/c++/v1/version ] || printf '%s\n' libc++-19-dev libc++abi-19-dev
            ;;
        bare) at_least 1.0 debootstrap --version || echo debootstrap ;;
        esac
    done
}

may_install() { [ "$(id -u)" -eq 0 ] && command -v apt-get >/dev/null; }

apt() { env DEBIAN_FRONTEND=noninteractive apt-get --yes --quiet --no-remove --no-install-recommends "$@" >&2; }

# Installs all or none. The package lists are updated only if they lack a package or are out of date.
install_packages() {
    apt --simulate install "$@" >/dev/null 2>&1 || apt update
    apt --simulate install "$@" >/dev/null 2>&1 || return 1
    apt install "$@" || { apt update && apt install "$@"; }
}

# The headers of Boost 1.81 need no installation, and so no root rights.
unpack_boost() {
    local download
    command -v dpkg >/dev/null && command -v apt-get >/dev/null || return 1
    say "setup: unpacking the headers of Boost 1.81 into .deps/"
    mkdir -p .deps
    download=$(mktemp -d .deps/download.XXXXXX)
    (
        cd "$download"
        chmod 755 .
        apt download libboost1.81-dev || { may_install && apt update && apt download libboost1.81-dev; }
    ) && dpkg -x "$download"/libboost1.81-dev_*.deb .deps
    rm -rf "$download"
    boost_is_there
}

set_up() {
    local packages=() others=() package
    packages=($(missing_packages "$@"))
    [ ${#packages[@]} -eq 0 ] && return
    say "setup: missing here: ${packages[*]}"

    if may_install; then
        install_packages "${packages[@]}" || true
        packages=($(missing_packages "$@"))
    fi
    # Boost in a package of its own has failed, or may not be installed: everything else first, then the headers alone.
    for package in "${packages[@]}"; do
        [ "$package" = libboost1.81-dev ] || others+=("$package")
    done
    if [ ${#others[@]} -gt 0 ] && may_install; then
        install_packages "${others[@]}" || true
    fi
    if [ ${#packages[@]} -gt ${#others[@]} ] && ! boost_is_there; then
        unpack_boost || true
    fi

    packages=($(missing_packages "$@"))
    if [ ${#packages[@]} -gt 0 ]; then
        say "setup: cannot install what is missing. Run this once as root, then again what you ran:"
        say "    apt-get update && apt-get install --no-remove --no-install-recommends ${packages[*]}"
        exit 1
    fi
}

# show_progress LOG: copies its input to LOG. On a terminal it also shows, in one line, how many steps of ninja are done.
show_progress() {
    local line
    if [ ! -t 2 ]; then
        cat >"$1"
        return
    fi
    while IFS= read -r line; do
        printf '%s\n' "$line" >&3
        if [[ $line =~ ^\[([0-9]+)/([0-9]+)\] ]]; then
            printf '\r\033[Ksetup: step %s of %s' "${BASH_REMATCH[1]}" "${BASH_REMATCH[2]}" >&2
        fi
    done 3>"$1"
    printf '\r\033[K' >&2
}

# configure_and_build PRESET [BUILD ARGS]: prints progress only; if a step fails, prints the whole log.
configure_and_build() {
    local preset=$1 log
    shift
    log=build/$preset.log
    mkdir -p build
    say "setup: building build/$preset"
    if ! { cmake --preset "$preset" "${CONFIGURE_ARGS[@]}" &&
            NINJA_STATUS='[%f/%t] ' cmake --build "build/$preset" "$@"; } 2>&1 | show_progress "$log"; then
        cat "$log" >&2
        say "setup: the build failed; the log is $log"
        exit 1
    fi
}
CONFIGURE_ARGS=()
