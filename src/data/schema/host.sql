-- The host's other database: items and sub-items of the export operations, their invoices,
-- and the host's own groups of sub-items. The component only reads these tables.

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

-- The sub-items printed with their root sub-item: the host's own, the component never reads it.
CREATE TABLE IF NOT EXISTS grupos (
    interno TEXT NOT NULL,
    idroot INTEGER NOT NULL,
    idsub INTEGER NOT NULL,
    PRIMARY KEY (interno, idsub)
);
