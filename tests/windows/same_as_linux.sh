#!/usr/bin/env bash
# The Windows build does what the Linux build does: the sample host of each, on its own SQLite
# files and then on its own database of the throwaway PostgreSQL server, creates the sample,
# discharges every sub-item and prints the sworn declaration into a PDF. The discharge
# transcripts must be equal, and so must the PDFs' text (pdftotext -layout).
#   same_as_linux.sh LINUX_HOST CONNECTION_FILE WINDOWS_HOST_COMMAND...
# CONNECTION_FILE is the throwaway server's ("host=... port=... user=... dbname=...").
set -euo pipefail
linux_host=$1
connection=$2
shift 2
windows_host=("$@")
if [[ ! -x "$linux_host" ]]; then
    echo "FAIL: no Linux sample host at $linux_host to compare with (scripts/build makes it)"
    exit 1
fi
work=$(mktemp -d /tmp/oquivran-same-XXXXXX)
trap 'rm -rf "$work"' EXIT
export LC_ALL=es_AR.UTF-8 LANG=es_AR.UTF-8 OQUIVRAN_HOST_TODAY=2027-05-10

setting() { tr ' ' '\n' <"$connection" | sed -n "s/^$1=//p"; }
server_host=$(setting host)
server_port=$(setting port)
server_user=$(setting user)
server_database=$(setting dbname)

# Runs one side's host with its own data and settings folders: its standard output as text,
# then its exit code on a line of its own, so that a refusal is compared too.
run() {
    local side=$1
    shift
    local host=("$linux_host")
    [[ "$side" == windows ]] && host=("${windows_host[@]}")
    local status=0
    XDG_DATA_HOME="$work/$side/data" XDG_CONFIG_HOME="$work/$side/config" \
        "${host[@]}" "$@" 2>>"$work/$side/stderr.txt" >"$work/$side/output" || status=$?
    tr -d '\r' <"$work/$side/output"
    echo "(exit $status)"
}

failures=0
# A step whose output is not compared must succeed.
succeeds() {
    local side=$1 output
    output=$(run "$@")
    if [[ "$output" != *"(exit 0)" ]]; then
        echo "FAIL: the $side host's ${2} failed: ${output##*$'\n'}"
        failures=$((failures + 1))
    fi
}
compare() {
    local what=$1
    if diff -u "$work/linux/$what" "$work/windows/$what" >"$work/$what.diff"; then
        echo "same: $what ($(wc -l <"$work/linux/$what") lines)"
    else
        echo "DIFFERENT: $what"
        cat "$work/$what.diff"
        failures=$((failures + 1))
    fi
}

for side in linux windows; do
    mkdir -p "$work/$side"
    # On the SQLite files of the embedded default.
    databases=(--discharge-db "$work/$side/descargas.sqlite" --host-db "$work/$side/anfitrion.sqlite")
    succeeds "$side" init "${databases[@]}"
    run "$side" discharge --all "${databases[@]}" >"$work/$side/discharge-sqlite.txt"
    succeeds "$side" print --report declaracion --method pdf --out "$work/$side/declaracion.pdf" \
        --aat 25/001/EC01/000123/K --date 2025-03-05 "${databases[@]}"
    [[ -f "$work/$side/declaracion.pdf" ]] && pdftotext -layout "$work/$side/declaracion.pdf" "$work/$side/declaracion-sqlite.txt"
    # On a database of its own on the server, over TCP.
    psql -X -q -h "$server_host" -p "$server_port" -U "$server_user" -d "$server_database" \
        -c "drop database if exists same_$side" -c "create database same_$side" >/dev/null
    uri="postgresql://$server_user@$server_host:$server_port/same_$side"
    succeeds "$side" init --database "$uri"
    run "$side" discharge --all --database "$uri" >"$work/$side/discharge-postgresql.txt"
    succeeds "$side" print --report declaracion --method pdf --out "$work/$side/declaracion-pg.pdf" \
        --aat 25/001/EC01/000123/K --date 2025-03-05 --database "$uri"
    [[ -f "$work/$side/declaracion-pg.pdf" ]] && pdftotext -layout "$work/$side/declaracion-pg.pdf" "$work/$side/declaracion-postgresql.txt"
    psql -X -q -h "$server_host" -p "$server_port" -U "$server_user" -d "$server_database" \
        -c "drop database same_$side" >/dev/null
done

for what in discharge-sqlite.txt declaracion-sqlite.txt discharge-postgresql.txt \
    declaracion-postgresql.txt; do
    compare "$what"
done
if ((failures)); then
    echo "FAIL: $failures outputs differ; the hosts' messages:"
    cat "$work/linux/stderr.txt" "$work/windows/stderr.txt"
    exit 1
fi
echo "PASS: the Windows host discharged and printed as the Linux host did"
