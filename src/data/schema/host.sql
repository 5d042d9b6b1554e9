-- The host's other database: items and sub-items of the export operations, and their
-- invoices. The component only reads these tables.

CREATE TABLE IF NOT EXISTS item (
    id INTEGER NOT NULL,
    interno TEXT NOT NULL,
    cancelaciones TEXT,
    PRIMARY KEY (interno, id)
);

CREATE TABLE IF NOT EXISTS groupsubitems (
    interno TEXT NOT NULL,
    id INTEGER NOT NULL,
    idsub INTEGER NOT NULL,
    idcatalogo TEXT,
    idarticulo TEXT,
    cantidad REAL,
    cancelaciones TEXT,
    PRIMARY KEY (interno, id, idsub)
);

CREATE TABLE IF NOT EXISTS facturas (
    interno TEXT NOT NULL,
    FACTURA TEXT,
    ORDEN INTEGER
);
CREATE INDEX IF NOT EXISTS facturas_interno ON facturas (interno, ORDEN);
