#!/bin/bash
# Usage: run_package_test.sh BUILD_DIR EXAMPLE_SOURCE WORK_DIR GENERATOR
# Builds oquivran_<version>_amd64.deb with cpack, checks its contents and dependencies (every
# library an installed program or library links comes from a package in Depends, and so do the
# Qt plugins the host loads), that its programs carry no debug information, installs it
# (apt-get install as root, unless OQUIVRAN_PACKAGE_INSTALL=extract; otherwise dpkg -x into a
# folder), runs the installed host's --version, init and discharge --all and builds and runs
# the host example against the installed package. Installing again over an installed package
# works.
set -euo pipefail
build=$1
example=$2
work=$3
generator=$4
fail() { echo "FAIL: $*"; exit 1; }

rm -rf "$work"
mkdir -p "$work"
cpack --config "$build/CPackConfig.cmake" -G DEB -B "$work/deb" >"$work/cpack.log" 2>&1 ||
    { cat "$work/cpack.log"; fail "cpack"; }
debs=("$work"/deb/oquivran_*_amd64.deb)
[ -f "${debs[0]}" ] || fail "no oquivran_<version>_amd64.deb in $work/deb: $(ls "$work/deb")"
deb=${debs[0]}
echo "package: $(basename "$deb")"

# What it holds and what it needs. The library and the package files are in Debian's multiarch
# folder.
version=$(dpkg-deb -f "$deb" Version)
multiarch=$(dpkg-architecture -qDEB_HOST_MULTIARCH)
libdir=/usr/lib/$multiarch
contents=$(dpkg-deb -c "$deb")
for path in ./usr/bin/oquivran-host ".$libdir/liboquivran.so.0" ./usr/include/oquivran/oquivran.h \
    ".$libdir/cmake/oquivran/oquivranConfig.cmake" ./usr/share/oquivran/discharge.sql \
    ./usr/share/oquivran/host.sql ./usr/share/oquivran/forms/adj1.kbx \
    ./usr/share/doc/oquivran/copyright ./usr/share/doc/oquivran/changelog.Debian.gz; do
    grep -q " $path" <<<"$contents" || fail "the package lacks $path"
done
depends=$(dpkg-deb -f "$deb" Depends)
echo "Depends: $depends"
for package in libqt6core6 libqt6widgets6 libqt6sql6 libqt6sql6-sqlite libqt6sql6-psql \
    libqt6printsupport6 libcups2 libpq5 libc6 libgcc-s1 libstdc++6; do
    grep -qw -- "$package" <<<"$depends" || fail "Depends lacks $package: $depends"
done
# The names in Depends, one a line, without versions or alternatives' bars.
depends_names=$(tr ',|' '\n\n' <<<"$depends" | sed 's/(.*//; s/[[:space:]]//g; s/:.*//' |
    grep -v '^$')
in_depends() { grep -qxF -- "$1" <<<"$depends_names"; }
# The packages that hold a file of the system: dpkg -S under the path given, else under its other
# name through Debian's merged /usr (/lib is /usr/lib), else under the path it leads to.
owners() {
    local path=$1 alias
    case $path in /usr/*) alias=${path#/usr} ;; *) alias=/usr$path ;; esac
    for candidate in "$path" "$alias" "$(readlink -f "$path")"; do
        dpkg -S "$candidate" 2>/dev/null | sed 's/: .*//' | tr ',' '\n' | sed 's/:.*//; s/ //g' &&
            return 0
    done
    return 1
}
# Fails unless a package that holds the file PATH is in Depends; WHAT says who needs the file.
require_in_depends() {
    local path=$1 what=$2 packages package
    packages=$(owners "$path") || fail "no package holds $path ($what)"
    for package in $packages; do
        in_depends "$package" && return 0
    done
    fail "$what comes from $packages, not in Depends: $depends"
}

# Every ELF file installed (the library, the host): stripped, and each library it links either
# in the package itself or in a package Depends names.
contents_dir=$work/contents
ldconfig=$(command -v ldconfig || echo /sbin/ldconfig)
libraries=$("$ldconfig" -p)
dpkg -x "$deb" "$contents_dir"
elf_files=()
while IFS= read -r -d '' file; do
    readelf -h "$file" >/dev/null 2>&1 && elf_files+=("$file")
done < <(find "$contents_dir" -type f -print0)
[ "${#elf_files[@]}" -ge 2 ] ||
    fail "fewer ELF files than the library and the host: ${elf_files[*]}"
for file in "${elf_files[@]}"; do
    name=${file#"$contents_dir"}
    # Whole outputs are read into variables: under pipefail, a reader that stops early (grep -q,
    # awk's exit) makes a writer with more to say fail with SIGPIPE, which ends the script.
    sections=$(readelf -S --wide "$file")
    if grep -q '\.debug_info' <<<"$sections"; then
        fail "$name carries debug information"
    fi
    for soname in $(readelf -d "$file" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p'); do
        if [ -e "$contents_dir$libdir/$soname" ]; then
            continue
        fi
        path=$(awk -v soname="$soname" '$1 == soname && /x86-64/ { print $NF; exit }' \
            <<<"$libraries")
        [ -n "$path" ] || fail "$name links $soname, which this system does not have"
        require_in_depends "$path" "$soname, linked by $name,"
    done
    echo "$name: stripped, every linked library's package in Depends"
done
# What Qt loads as plugins, which no file links: the SQL drivers and the platform plugin a
# headless host runs on.
plugins=/usr/lib/$multiarch/qt6/plugins
for plugin in sqldrivers/libqsqlite.so sqldrivers/libqsqlpsql.so platforms/libqoffscreen.so; do
    require_in_depends "$plugins/$plugin" "the plugin $plugin"
done
# The Debian documentation files: copyright in the machine-readable format, the changelog of
# this version.
head -n 1 "$contents_dir/usr/share/doc/oquivran/copyright" |
    grep -q '^Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/' ||
    fail "copyright is not in the machine-readable format"
changelog=$(zcat "$contents_dir/usr/share/doc/oquivran/changelog.Debian.gz")
grep -qF "oquivran ($version) " <<<"${changelog%%$'\n'*}" ||
    fail "changelog.Debian.gz does not begin with $version"

if [ "$(id -u)" = 0 ] && command -v apt-get >/dev/null &&
    [ "${OQUIVRAN_PACKAGE_INSTALL:-apt}" != extract ]; then
    # Copied where apt's download user may read it; --reinstall replaces an earlier install of
    # the same version.
    staged=$(mktemp -d /tmp/oquivran-deb-XXXXXX)
    chmod 755 "$staged"
    cp "$deb" "$staged/"
    # Another run may hold dpkg's lock for a while: wait for it rather than fail.
    (cd "$staged" && DEBIAN_FRONTEND=noninteractive apt-get install -y --reinstall \
        --no-install-recommends -o DPkg::Lock::Timeout=600 "./$(basename "$deb")") \
        >"$work/apt.log" 2>&1 ||
        { cat "$work/apt.log"; rm -rf "$staged"; fail "apt-get install"; }
    rm -rf "$staged"
    grep -q "^Status: install ok installed" <<<"$(dpkg -s oquivran)" ||
        fail "dpkg does not list oquivran"
    prefix=/usr
    echo "installed with apt-get"
else
    dpkg -x "$deb" "$work/root"
    prefix=$work/root/usr
    echo "extracted with dpkg -x into $work/root"
fi

# The installed host, without LD_LIBRARY_PATH, on sample databases of its own.
host=$prefix/bin/oquivran-host
export XDG_DATA_HOME=$work/data
unset LD_LIBRARY_PATH
"$host" --help >/dev/null || fail "oquivran-host --help"
[ "$("$host" --version)" = "oquivran-host $version" ] ||
    fail "oquivran-host --version printed \"$("$host" --version)\", not oquivran-host $version"
"$host" init || fail "oquivran-host init"
set +e
"$host" discharge --all >"$work/discharge.txt"
status=$?
set -e
# The sample's sub-item 4 draws on a declaration without C.T.C.: refused (4), the rest written.
[ "$status" = 4 ] || { cat "$work/discharge.txt"; fail "discharge --all ended with $status"; }
grep -q "descargado" "$work/discharge.txt" || fail "discharge --all wrote no lines"
"$host" check-stock >/dev/null || fail "check-stock after the discharge"

# The host example, built against the installed package as a host project would be.
cmake -S "$example" -B "$work/example" -G "$generator" -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_BUILD_TYPE=Release >"$work/example.log" 2>&1 ||
    { cat "$work/example.log"; fail "configuring the host example"; }
cmake --build "$work/example" >>"$work/example.log" 2>&1 ||
    { cat "$work/example.log"; fail "building the host example"; }
grep -q "$prefix/lib/$multiarch/cmake/oquivran" "$work/example/CMakeCache.txt" ||
    fail "the host example did not find the installed package"
"$work/example/myhost" "$prefix/share/oquivran" "$work/example.sqlite" ||
    fail "the host example"
echo "PASS: package built, installed, run and built against"
