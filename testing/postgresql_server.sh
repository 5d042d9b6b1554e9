#!/usr/bin/env bash
# A throwaway PostgreSQL server for the tests:
#   postgresql_server.sh start STATE [tcp]
#                                      initdb into a new folder under /tmp, start the server on a
#                                      Unix socket there (with tcp, on 127.0.0.1 instead, for
#                                      Windows programs under Wine), create the database
#                                      oquivran_test and write its connection to STATE/connection
#   postgresql_server.sh restart STATE restart that server (pg_ctl restart -m fast): open
#                                      connections are ended, new ones work once it is back
#   postgresql_server.sh stop STATE    stop that server and delete its folder
# The server refuses to run as root: as root it runs as the user postgres (created by Debian's
# server package), on a folder that user owns. Durability is off: the data is thrown away.
set -euo pipefail

action=${1:-}
state=${2:-}
listen=${3:-socket}
if [[ -z "$action" || -z "$state" ]]; then
    echo "usage: $0 start|restart|stop STATE_FOLDER [socket|tcp]" >&2
    exit 1
fi

bindir=${OQUIVRAN_PG_BINDIR:-}
if [[ -z "$bindir" ]]; then
    bindir=$(ls -d /usr/lib/postgresql/*/bin 2>/dev/null | sort -V | tail -n 1 || true)
fi
if [[ -z "$bindir" || ! -x "$bindir/initdb" ]]; then
    echo "postgresql_server: no PostgreSQL server (initdb) found; run scripts/setup" >&2
    exit 1
fi

as_server() {
    if [[ $(id -u) -eq 0 ]]; then
        runuser -u postgres -- "$@"
    else
        "$@"
    fi
}

stop() {
    [[ -f "$state/folder" ]] || return 0
    local folder
    folder=$(cat "$state/folder")
    if [[ -f "$folder/data/postmaster.pid" ]]; then
        as_server "$bindir/pg_ctl" -D "$folder/data" -m fast -w stop >/dev/null 2>&1 || true
    fi
    rm -rf "$folder"
    rm -f "$state/folder" "$state/connection"
}

case "$action" in
stop)
    stop
    ;;
restart)
    folder=$(cat "$state/folder")
    as_server "$bindir/pg_ctl" -D "$folder/data" -l "$folder/server.log" -m fast -w -t 60 restart \
        >/dev/null
    ;;
start)
    # A server left by an interrupted run goes first.
    stop
    mkdir -p "$state"
    folder=$(mktemp -d /tmp/oquivran-pg-XXXXXX)
    chmod 755 "$folder"
    if [[ $(id -u) -eq 0 ]]; then
        if ! id postgres >/dev/null 2>&1; then
            echo "postgresql_server: running as root needs the user postgres (Debian's server package)" >&2
            exit 1
        fi
        chown postgres: "$folder"
    fi
    echo "$folder" >"$state/folder"
    as_server "$bindir/initdb" -D "$folder/data" -A trust -U oq -E UTF8 --locale=C --no-sync \
        >"$folder/initdb.log" 2>&1 || { cat "$folder/initdb.log" >&2; exit 1; }
    options="-k $folder -c fsync=off -c synchronous_commit=off -c full_page_writes=off -c max_connections=150"
    for attempt in 1 2 3 4 5; do
        port=$((50000 + RANDOM % 10000))
        if [[ "$listen" == tcp ]]; then
            # A port another program listens on is passed over.
            (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null && continue
            host=127.0.0.1
            # Wine keeps the connection of a Windows process that was killed open, as if idle
            # in a transaction, where Windows would close it at once: the server ends such a
            # session after two seconds, so its locks do not outlive the process for long.
            addresses="-c listen_addresses=127.0.0.1 -c idle_in_transaction_session_timeout=2000"
        else
            # With no TCP listener the port only names the socket file; any number not taken
            # in the folder will do.
            host=$folder
            addresses="-c listen_addresses=''"
        fi
        if as_server "$bindir/pg_ctl" -D "$folder/data" -l "$folder/server.log" -w -t 60 \
            -o "$options -p $port $addresses" start >/dev/null; then
            started=1
            break
        fi
    done
    if [[ -z "${started:-}" ]]; then
        cat "$folder/server.log" >&2
        exit 1
    fi
    "$bindir/psql" -X -q -h "$host" -p "$port" -U oq -d postgres \
        -c "create database oquivran_test" >/dev/null
    echo "host=$host port=$port user=oq dbname=oquivran_test" >"$state/connection.new"
    mv "$state/connection.new" "$state/connection"
    echo "postgresql_server: started in $folder (${listen} port $port)"
    ;;
*)
    echo "usage: $0 start|restart|stop STATE_FOLDER [socket|tcp]" >&2
    exit 1
    ;;
esac
