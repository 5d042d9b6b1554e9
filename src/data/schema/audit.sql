-- The audit trail, in the discharge database. Created apart from the discharge tables, by a
-- host that turns the trail on, so that a database without the trail stays as it always was.

-- One row for each change a unit of atomic writes makes to a discharge line or a stock line,
-- written in the same unit. AUDQUE says what changed ("DIP alta", "DIP baja", or the table and
-- column updated), AUDANT and AUDNUE the quantity before and after (DIPCAN of a line, ARTDSC of
-- a stock line), AUDVAA and AUDVAN the value of an updated column before and after.
-- AUDFEC is local time with its offset from UTC, AUDUSR the operating-system user (or the name
-- the host gives).
CREATE TABLE IF NOT EXISTS DIPAUD (
    AUDNRO INTEGER PRIMARY KEY AUTOINCREMENT,
    AUDFEC TEXT NOT NULL,
    AUDUSR TEXT NOT NULL,
    AUDQUE TEXT NOT NULL,
    EXTINT TEXT,
    EXTSBT INTEGER,
    INTDCL TEXT,
    ARTNRO TEXT,
    ARTITM INTEGER,
    ARTSBT INTEGER,
    AUDANT REAL,
    AUDNUE REAL,
    AUDVAA TEXT,
    AUDVAN TEXT
);
CREATE INDEX IF NOT EXISTS DIPAUD_STOCKLINE ON DIPAUD (INTDCL, ARTNRO, ARTITM, ARTSBT);
CREATE INDEX IF NOT EXISTS DIPAUD_OPERATION ON DIPAUD (EXTINT, EXTSBT);
-- Its rows are only ever appended.
CREATE TRIGGER IF NOT EXISTS DIPAUD_NO_UPDATE BEFORE UPDATE ON DIPAUD
BEGIN
    SELECT RAISE(ABORT, 'DIPAUD: las filas de auditoría no se modifican');
END;
CREATE TRIGGER IF NOT EXISTS DIPAUD_NO_DELETE BEFORE DELETE ON DIPAUD
BEGIN
    SELECT RAISE(ABORT, 'DIPAUD: las filas de auditoría no se eliminan');
END;
