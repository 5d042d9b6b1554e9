#!/bin/bash
# Usage: run_package_test.sh BUILD_DIR EXAMPLE_SOURCE WORK_DIR GENERATOR
# Builds oquivran_<version>_amd64.deb with cpack, checks its contents and dependencies, installs
# it (apt-get install as root, unless OQUIVRAN_PACKAGE_INSTALL=extract; otherwise dpkg -x into
# a folder), runs the installed host's init and discharge --all and builds and runs the host
# example against the installed package. Installing again over an installed package works.
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
multiarch=$(dpkg-architecture -qDEB_HOST_MULTIARCH)
libdir=/usr/lib/$multiarch
contents=$(dpkg-deb -c "$deb")
for path in ./usr/bin/oquivran-host ".$libdir/liboquivran.so.0" ./usr/include/oquivran/oquivran.h \
    ".$libdir/cmake/oquivran/oquivranConfig.cmake" ./usr/share/oquivran/discharge.sql \
    ./usr/share/oquivran/host.sql ./usr/share/oquivran/forms/adj1.kbx; do
    grep -q " $path" <<<"$contents" || fail "the package lacks $path"
done
depends=$(dpkg-deb -f "$deb" Depends)
for package in libqt6core6 libqt6widgets6 libqt6sql6 libqt6sql6-sqlite libqt6printsupport6 libcups2; do
    grep -qw "$package" <<<"$depends" || fail "Depends lacks $package: $depends"
done

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
    dpkg -s oquivran | grep -q "^Status: install ok installed" || fail "dpkg does not list oquivran"
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
