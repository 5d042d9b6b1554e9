#!/usr/bin/env bash
# One test of the COM server under Wine, in a Wine prefix of its own made anew: registers the
# server of a folder as Windows hosts find it installed (regsvr32), runs VBScript hosts with
# cscript and Windows test programs, and checks the registry afterwards.
#   run_com_test.sh --wine-run PROGRAM --state DIR --name NAME --server DLL [options]
#     --register machine|user      regsvr32 DLL, or regsvr32 /n /i:user DLL
#     --unregister machine|user    then regsvr32 /u (with /n /i:user for user)
#     --host SCRIPT                a VBScript host, after common.vbs beside this file; it must
#                                  print "N passed, 0 failed" and exit 0 (repeatable)
#     --program EXE                a Windows test program; exit 0 (repeatable)
#     --path DIRS                  where the programs find their DLLs
#     --registered machine|user|none  where the server's class must be registered at the end
#     --installer EXE              install with the installer, silently (/S), into
#                                  C:\oQUIVRAN before the hosts, and uninstall it silently after
#     --operator TITLE KEY         the hosts run on a display of their own (Xvfb) with Qt's
#                                  windows platform; when a window titled TITLE shows, the
#                                  operator takes a picture of the display (screen-N.png in
#                                  the work folder, N counting from 1) and presses KEY on it
#                                  (repeatable: the windows show in that order)
#     --hosts-need-merged-classes  with --register user: when this Wine does not show
#                                  HKEY_CURRENT_USER\Software\Classes through
#                                  HKEY_CLASSES_ROOT as Windows does, the hosts are not run and
#                                  the test prints SKIP with the reason
# A VBScript host gets the test's work folder (a Windows path) as its first argument.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)

wine_run="" state="" name="" server="" register="" unregister="" path="" registered=""
need_merged="" installer=""
windows=() keys=()
steps=()
while [[ $# -gt 0 ]]; do
    case "$1" in
    --wine-run) wine_run=$2 ;;
    --state) state=$2 ;;
    --name) name=$2 ;;
    --server) server=$2 ;;
    --register) register=$2 ;;
    --unregister) unregister=$2 ;;
    --host) steps+=("host:$2") ;;
    --program) steps+=("program:$2") ;;
    --path) path=$2 ;;
    --registered) registered=$2 ;;
    --hosts-need-merged-classes) need_merged=yes; shift; continue ;;
    --installer) installer=$2 ;;
    --operator) windows+=("$2"); keys+=("$3"); shift 3; continue ;;
    *) echo "run_com_test: unknown option $1" >&2; exit 2 ;;
    esac
    shift 2
done
[[ -n "$wine_run" && -n "$state" && -n "$name" && (-f "$server" || -f "$installer") ]] || {
    echo "run_com_test: needs --wine-run, --state, --name and an existing --server or --installer" >&2
    exit 2
}

work="$state/work-$name"
wine_server() { WINEPREFIX="$state/prefix-$name" /usr/lib/wine/wineserver "$@"; }
# The server of an earlier run of this test outlives it for a few seconds and writes the
# registry into the prefix as it ends: stopped first, it cannot refill the folder being removed.
[[ -d "$state/prefix-$name" ]] && { wine_server -k 2>/dev/null || true; }
rm -rf "$state/prefix-$name" "$work"
mkdir -p "$work"
windows_path() { printf 'Z:%s' "${1//\//\\}"; }
dll=$(windows_path "$server")
wine() { "$wine_run" --state "$state" --prefix "$name" ${path:+--path "$path"} "$@"; }
# cscript writes in the console's code page.
from_console() { iconv -f CP437 -t UTF-8; }
status=0

if ((${#windows[@]})); then
    missing=()
    for tool in Xvfb xdotool xwd xwdtopnm pnmtopng; do
        command -v "$tool" >/dev/null 2>&1 || missing+=("$tool")
    done
    if ((${#missing[@]})); then
        echo "FAIL: missing ${missing[*]}; scripts/setup installs them"
        exit 1
    fi
    # A display of our own: Xvfb picks a free number and writes it to the file.
    Xvfb -displayfd 5 -screen 0 1366x768x24 -nolisten tcp 5>"$work/display" 2>"$work/xvfb.log" &
    xvfb=$!
    trap 'wine_server -k 2>/dev/null || true; kill "$xvfb" 2>/dev/null || true' EXIT
    for ((i = 0; i < 100; i++)); do
        [[ -s "$work/display" ]] && break
        sleep 0.1
    done
    export DISPLAY=":$(head -1 "$work/display")"
    echo "display: $DISPLAY"
fi

regsvr32_flags() {
    case "$1" in
    machine) echo "/s" ;;
    user) echo "/s /n /i:user" ;;
    *) echo "run_com_test: registration is machine or user, not $1" >&2; exit 2 ;;
    esac
}

if [[ -n "$register" ]]; then
    # shellcheck disable=SC2046
    code=0
    wine regsvr32 $(regsvr32_flags "$register") "$dll" || code=$?
    if ((code != 0)); then
        # Silent, regsvr32 says nothing: its exit code tells which of its steps failed
        # (loading the DLL, finding the entry point, the entry point itself).
        echo "FAIL: regsvr32 $(regsvr32_flags "$register") $dll exited $code"
        exit 1
    fi
    echo "registered ($register): $dll"
fi
if [[ -n "$unregister" ]]; then
    # shellcheck disable=SC2046
    code=0
    wine regsvr32 /u $(regsvr32_flags "$unregister") "$dll" || code=$?
    if ((code != 0)); then
        echo "FAIL: regsvr32 /u $(regsvr32_flags "$unregister") $dll exited $code"
        status=1
    fi
    echo "unregistered ($unregister)"
fi

installed='C:\oQUIVRAN'
if [[ -n "$installer" ]]; then
    # /D must come last, unquoted.
    if ! wine "$installer" /S "/D=$installed"; then
        echo "FAIL: $(basename "$installer") /S"
        exit 1
    fi
    echo "installed: $(basename "$installer") into $installed"
    wine cmd /c dir /b "$installed" | tr -d '\r' | sed 's/^/    /'
    value=$(wine reg query 'HKLM\Software\Classes\CLSID\{f0102aea-7ef0-4ea3-aa4b-bc24dacb041d}\InprocServer32' /ve | tr -d '\r' | grep REG_SZ || true)
    echo "InprocServer32: ${value##*REG_SZ}"
    if [[ "$value" != *"$installed\oQUIVRAN.dll"* ]]; then
        echo "FAIL: the installer did not register $installed\oQUIVRAN.dll"
        status=1
    fi
fi
if [[ -n "$need_merged" ]] && ! wine reg query 'HKCR\oQUIVRAN.clQUIVRAN' >/dev/null 2>&1; then
    echo "SKIP: this Wine does not show HKEY_CURRENT_USER\Software\Classes through HKEY_CLASSES_ROOT, so COM cannot find a class registered for the user alone; Windows does"
    steps=()
fi
if ((${#windows[@]})); then
    # Qt draws on the display, and without a window manager Wine manages its windows itself.
    wine reg add 'HKCU\Environment' /v QT_QPA_PLATFORM /d windows /f >/dev/null
    wine reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d N /f >/dev/null
fi
# The operator: for each window in turn, waits for it, takes the picture, presses the key;
# when a window does not show or does not go, the host is stopped rather than left waiting.
operate() {
    local n window title key picture pattern
    # Wine names a window in its own locale's encoding: the title's letters beyond ASCII match
    # any bytes.
    export LC_ALL=C
    for ((n = 0; n < ${#windows[@]}; n++)); do
        title=${windows[n]} key=${keys[n]} picture="$work/screen-$((n + 1)).png"
        pattern="^$(sed 's/[^ -~]\{1,\}/.+/g' <<<"$title")\$"
        window=$(timeout 120 xdotool search --sync --onlyvisible --name "$pattern" | head -1) ||
            true
        if [[ -z "$window" ]]; then
            echo "FAIL: no window titled \"$title\" showed in two minutes; the host is stopped"
            wine_server -k
            return 1
        fi
        # The picture is for people to look at: let the screen finish painting first.
        sleep 2
        xwd -root -silent | xwdtopnm 2>/dev/null | pnmtopng >"$picture" || echo "no picture"
        echo "operator: \"$title\" is shown; picture in $picture; pressing $key"
        xdotool windowfocus --sync "$window" key "$key"
        for ((i = 0; i < 60; i++)); do
            xdotool search --onlyvisible --name "$pattern" >/dev/null 2>&1 || continue 2
            sleep 1
        done
        echo "FAIL: \"$title\" still shown a minute after $key; the host is stopped"
        wine_server -k
        return 1
    done
}
for step in "${steps[@]}"; do
    kind=${step%%:*}
    file=${step#*:}
    case "$kind" in
    host)
        # Scripts are read as ANSI: the common part and the host in one file, in cp1252.
        script="$work/$(basename "$file")"
        cat "$here/common.vbs" "$file" | iconv -f UTF-8 -t CP1252 >"$script"
        echo "== cscript $(basename "$file")"
        for attempt in 1 2; do
            rm -f "$work/host-started"
            ((${#windows[@]})) && { operate >"$work/operator.txt" 2>&1 & operator=$!; }
            set +e
            output=$(wine cscript //nologo "$(windows_path "$script")" "$(windows_path "$work")" | from_console)
            code=$?
            set -e
            # Under load, Wine's cscript has ended with 1 and printed nothing. The script's first
            # line leaves a file behind: without it no line ran and the component was never
            # loaded, so the host runs once more. A run that started counts as it ended.
            [[ "$code" -ne 0 && ! -e "$work/host-started" && "$attempt" -eq 1 ]] || break
            printf '%s\n' "$output"
            echo "cscript exited $code before the script's first line ran; running it once more"
            if ((${#windows[@]})); then
                pkill -P "$operator" 2>/dev/null || true
                kill "$operator" 2>/dev/null || true
                wait "$operator" 2>/dev/null || true
            fi
        done
        printf '%s\n' "$output"
        if ((${#windows[@]})); then
            wait "$operator" || status=1
            cat "$work/operator.txt"
        fi
        summary=$(printf '%s\n' "$output" | tr -d '\r' | grep -E '^[0-9]+ passed, [0-9]+ failed$' | tail -1 || true)
        if [[ -z "$summary" ]]; then
            started=no
            [[ -e "$work/host-started" ]] && started=yes
            echo "FAIL: $(basename "$file") printed no summary line (exit $code; its first line ran: $started)"
            status=1
        elif [[ "$code" -ne 0 || "$summary" != *" 0 failed" ]]; then
            echo "FAIL: $(basename "$file"): $summary, exit $code"
            status=1
        fi
        ;;
    program)
        echo "== $(basename "$file")"
        # shellcheck disable=SC2086
        if ! wine $file; then
            echo "FAIL: $(basename "$file")"
            status=1
        fi
        ;;
    esac
done

if [[ -n "$installer" ]]; then
    # _?= runs the uninstaller in place, so that it is done when it returns.
    if ! wine "$installed\Uninstall.exe" /S "_?=$installed"; then
        echo "FAIL: Uninstall.exe /S"
        status=1
    fi
    echo "uninstalled"
    if wine cmd /c if exist "$installed\\oQUIVRAN.dll" exit 1; then
        echo "removed: $installed\oQUIVRAN.dll"
    else
        echo "FAIL: $installed\oQUIVRAN.dll is still there"
        status=1
    fi
fi
if [[ -n "$registered" ]]; then
    clsid='{f0102aea-7ef0-4ea3-aa4b-bc24dacb041d}'
    for scope in machine user; do
        key='HKLM\Software\Classes\CLSID\'$clsid
        [[ "$scope" == user ]] && key='HKCU\Software\Classes\CLSID\'$clsid
        if wine reg query "$key" >/dev/null 2>&1; then found=yes; else found=no; fi
        expected=no
        [[ "$registered" == "$scope" ]] && expected=yes
        echo "registered under $scope: $found"
        if [[ "$found" != "$expected" ]]; then
            echo "FAIL: registered under $scope: $found, expected $expected"
            status=1
        fi
    done
fi
exit "$status"
