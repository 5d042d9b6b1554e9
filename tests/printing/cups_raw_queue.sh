#!/bin/bash
# Prints two pages through the default text-mode print service on a raw CUPS queue of a cupsd
# of this test's own (own folders, own port on 127.0.0.1), whose device is a socket on which a
# local listener takes the bytes; checks that the listener received exactly the page texts.
#   cups_raw_queue.sh CLIENT [ARGUMENT...]   the client command, to which the queue's name is
#                                            added (a Windows client runs under Wine, whose
#                                            spooler hands its jobs to the same cupsd)
# Installs cups when missing (as root or with sudo). Exits 77 (skipped) only when cupsd cannot
# be installed or started.
set -u
client=("$@")
skip() { echo "SKIP: $*"; exit 77; }
fail() { echo "FAIL: $*"; [ -f "$work/error_log" ] && tail -20 "$work/error_log"; exit 1; }
work=

if ! command -v cupsd >/dev/null || [ ! -x /usr/lib/cups/backend/socket ]; then
    if [ "$(id -u)" = 0 ]; then
        timeout 600 apt-get install -y --no-install-recommends cups >/dev/null 2>&1 ||
            { timeout 300 apt-get update >/dev/null 2>&1 &&
              timeout 600 apt-get install -y --no-install-recommends cups >/dev/null 2>&1; }
    elif command -v sudo >/dev/null && sudo -n true 2>/dev/null; then
        timeout 600 sudo -n apt-get install -y --no-install-recommends cups >/dev/null 2>&1
    fi
fi
command -v cupsd >/dev/null || skip "cupsd is not installed and could not be installed"
[ -x /usr/lib/cups/backend/socket ] || skip "the CUPS socket backend is missing"

# cupsd runs its backends as lp, which must reach the spool files: the server's folders go
# under /tmp, never under the checkout, which may sit in a folder only its owner may enter
# (a home folder, mktemp -d).
work=$(mktemp -d /tmp/oquivran-cups-XXXXXX)
chmod 755 "$work"
free_port() { python3 -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1",0)); print(s.getsockname()[1])'; }
cups_port=$(free_port)
device_port=$(free_port)
mkdir -p "$work/spool/tmp" "$work/cache" "$work/state" "$work/root/ppd"
# cupsd hands spool files to backends that run as lp.
chown -R lp:lp "$work/spool" "$work/cache" 2>/dev/null
chmod -R 777 "$work/spool" "$work/cache" "$work/state"

cat > "$work/cupsd.conf" <<CONF
Listen 127.0.0.1:$cups_port
LogLevel warn
DefaultAuthType None
<Location />
  Order allow,deny
  Allow 127.0.0.1
</Location>
<Location /admin>
  Order allow,deny
  Allow 127.0.0.1
</Location>
<Policy default>
  <Limit All>
    Order allow,deny
    Allow 127.0.0.1
  </Limit>
</Policy>
CONF
cat > "$work/cups-files.conf" <<CONF
ServerRoot $work/root
RequestRoot $work/spool
TempDir $work/spool/tmp
CacheDir $work/cache
StateDir $work/state
ErrorLog $work/error_log
AccessLog $work/access_log
PageLog $work/page_log
SystemGroup root
Sandboxing Relaxed
CONF
cp "$work/cupsd.conf" "$work/root/cupsd.conf"

# The device: a listener that writes what each connection brings, for at most 60 seconds.
python3 - "$device_port" "$work/received" <<'PY' &
import socket, sys, time
port, out = int(sys.argv[1]), sys.argv[2]
server = socket.socket()
server.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
server.bind(("127.0.0.1", port))
server.listen(4)
server.settimeout(1)
deadline = time.time() + 60
jobs = 0
with open(out, "wb") as f:
    while time.time() < deadline and jobs < 2:
        try:
            conn, _ = server.accept()
        except socket.timeout:
            continue
        conn.settimeout(10)
        with conn:
            while True:
                try:
                    data = conn.recv(65536)
                except socket.timeout:
                    break
                if not data:
                    break
                f.write(data)
                f.flush()
        jobs += 1
PY
listener=$!

timeout 120 cupsd -f -c "$work/cupsd.conf" -s "$work/cups-files.conf" &
cupsd_pid=$!
cleanup() { kill "$cupsd_pid" "$listener" 2>/dev/null; wait 2>/dev/null; rm -rf "$work"; }
trap cleanup EXIT

export CUPS_SERVER=127.0.0.1:$cups_port
for _ in $(seq 1 50); do
    lpstat -r 2>/dev/null | grep -q "is running" && break
    kill -0 "$cupsd_pid" 2>/dev/null || break
    sleep 0.2
done
lpstat -r 2>/dev/null | grep -q "is running" || skip "cupsd could not be started: $(tail -3 "$work/error_log" 2>/dev/null)"

lpadmin -p OQUIVRAN_RAW -E -v "socket://127.0.0.1:$device_port" 2>"$work/lpadmin.err" ||
    fail "lpadmin: $(cat "$work/lpadmin.err")"
timeout 120 "${client[@]}" OQUIVRAN_RAW || fail "the print service refused a page"

# Both jobs reach the device, one after the other.
wait "$listener"
expected=$(printf 'PAGINA 1\r\nl\xc3\xadnea uno\r\nPAGINA 2\r\nl\xc3\xadnea dos\r\n' | od -An -tx1)
actual=$(od -An -tx1 < "$work/received")
[ "$expected" = "$actual" ] || fail "received: $(cat -A "$work/received")"
echo "PASS: the queue received both pages"
exit 0
