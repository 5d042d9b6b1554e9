-- The host's other database on PostgreSQL: items and sub-items of the export operations, their
-- invoices, and the host's own groups of sub-items. The component only reads these tables. Run
-- functions-postgresql.sql first.

CREATE TABLE IF NOT EXISTS item (
    id INTEGER NOT NULL,
    interno TEXT COLLATE "C" NOT NULL,
    cancelaciones TEXT COLLATE "C",
    PRIMARY KEY (interno, id)
);

CREATE TABLE IF NOT EXISTS groupsubitems (
    interno TEXT COLLATE "C" NOT NULL,
    id INTEGER NOT NULL,
    idsub INTEGER NOT NULL,
    idcatalogo TEXT COLLATE "C",
    idarticulo TEXT COLLATE "C",
    cantidad DOUBLE PRECISION,
    cancelaciones TEXT COLLATE "C",
    PRIMARY KEY (interno, id, idsub)
);

CREATE TABLE IF NOT EXISTS facturas (
    interno TEXT COLLATE "C" NOT NULL,
    FACTURA TEXT COLLATE "C",
    ORDEN INTEGER
);
CREATE INDEX IF NOT EXISTS facturas_interno ON facturas (interno, ORDEN);

-- The sub-items printed with their root sub-item: the host's own, the component never reads it.
CREATE TABLE IF NOT EXISTS grupos (
    interno TEXT COLLATE "C" NOT NULL,
    idroot INTEGER NOT NULL,
    idsub INTEGER NOT NULL,
    PRIMARY KEY (interno, idsub)
);
