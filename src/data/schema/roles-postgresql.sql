-- Roles of the discharge database on PostgreSQL: two group roles, without login, that an
-- office grants to the login roles of its people.
--   oquivran_operador  what the component needs to discharge, and nothing else: it reads the
--                      stock, the relations and the lines; adds and removes discharge lines;
--                      updates only the columns of DIP and INS the component updates; appends
--                      to the audit trail, whose rows it can neither change nor remove.
--   oquivran_auditor   reads every table of the discharge database and writes none.
--
-- Run it as the owner of the tables (or a superuser), on the schema they are in (the first of
-- the search path), after functions-postgresql.sql, discharge-postgresql.sql and, where the
-- trail is on, audit-postgresql.sql:
--   psql -d descargas -f share/oquivran/roles-postgresql.sql
-- then give each person a login role of their own:
--   CREATE ROLE maria LOGIN PASSWORD '...' IN ROLE oquivran_operador;
--   GRANT oquivran_auditor TO contador;
-- The group roles are created only when missing (creating them needs CREATEROLE or a
-- superuser; roles belong to the whole server, so every database and schema of the office
-- shares them). Running the script again sets the two roles' rights on this schema to what it
-- gives here, whatever they were: run it again after creating the audit table later, or after
-- a new version of the component.
--
-- The host's own tables (item, groupsubitems, facturas), when they share this database, are
-- the host's to grant: the component only reads them.

-- The two group roles. Two sessions creating one at the same moment: the second finds it
-- made, as when it already existed.
DO $$
DECLARE
    role_name text;
BEGIN
    FOREACH role_name IN ARRAY ARRAY['oquivran_operador', 'oquivran_auditor'] LOOP
        IF NOT EXISTS (SELECT FROM pg_roles WHERE rolname = role_name) THEN
            BEGIN
                EXECUTE format('CREATE ROLE %I NOLOGIN', role_name);
            EXCEPTION WHEN duplicate_object OR unique_violation THEN
                NULL;
            END;
        END IF;
    END LOOP;
END
$$;

-- Their rights on the tables and functions of the first schema of the search path. Every
-- name is qualified with that schema, so a table of the same name elsewhere on the path is
-- never the one granted.
DO $$
DECLARE
    target text := current_schema();
    tables text;
    trail boolean;
    routine regprocedure;
BEGIN
    IF target IS NULL THEN
        RAISE EXCEPTION 'oquivran roles: the search path names no schema that exists';
    END IF;
    IF to_regclass(format('%I.dip', target)) IS NULL THEN
        RAISE EXCEPTION 'oquivran roles: schema % holds no discharge tables '
                        '(run discharge-postgresql.sql first)', target;
    END IF;
    trail := to_regclass(format('%I.dipaud', target)) IS NOT NULL;
    tables := format('%1$I.intins, %1$I.ins, %1$I.prd, %1$I.rip, %1$I.dip', target);
    IF trail THEN
        tables := tables || format(', %I.dipaud', target);
    END IF;

    -- What either role held before goes first (a table's rights take its columns' with them),
    -- so that running the script again leaves exactly the rights below.
    EXECUTE format('REVOKE ALL ON TABLE %s FROM oquivran_operador, oquivran_auditor', tables);
    EXECUTE format('GRANT USAGE ON SCHEMA %I TO oquivran_operador, oquivran_auditor', target);
    -- Connecting is PUBLIC's right unless the office took it away; the roles get it then.
    -- Granted only where missing: a grant rewrites the database's catalog row, which two
    -- sessions running the script at once must not both do.
    IF NOT has_database_privilege('oquivran_operador', current_database(), 'CONNECT')
        OR NOT has_database_privilege('oquivran_auditor', current_database(), 'CONNECT') THEN
        EXECUTE format('GRANT CONNECT ON DATABASE %I TO oquivran_operador, oquivran_auditor',
                       current_database());
    END IF;

    -- Both read everything. An operator's UPDATE and DELETE read the columns of their WHERE
    -- and of their new values (ARTCAT for the stock refresh), which SELECT covers.
    EXECUTE format('GRANT SELECT ON TABLE %s TO oquivran_operador, oquivran_auditor', tables);

    -- Discharge lines: written and removed whole; of a line written, the component updates
    -- only its item number, group root and the export data recorded after printing.
    EXECUTE format('GRANT INSERT, DELETE ON TABLE %I.dip TO oquivran_operador', target);
    EXECUTE format('GRANT UPDATE (extitm, idroot, extnof, extfof, extfac) ON TABLE %I.dip '
                   'TO oquivran_operador', target);
    -- Stock lines: the availability the discharges leave, the C.T.C. and the export reference.
    -- The declared quantity (ARTCAT) and the rest stay as the declaration gave them; the
    -- declarations (INTINS), products (PRD) and relations (RIP) are read only.
    EXECUTE format('GRANT UPDATE (artdsc, artctc, insexp) ON TABLE %I.ins TO oquivran_operador',
                   target);

    -- The audit trail: rows are appended, never changed or removed. The columns the component
    -- writes, without AUDNRO: the server numbers the rows (an identity column's numbers need
    -- no right on its sequence).
    IF trail THEN
        EXECUTE format('GRANT INSERT (audfec, audusr, audque, extint, extsbt, intdcl, artnro, '
                       'artitm, artsbt, audant, audnue, audvaa, audvan) ON TABLE %I.dipaud '
                       'TO oquivran_operador', target);
    END IF;

    -- The functions the component's statements call, for both (the auditor's reports read
    -- through format() too); the trail's two when they are there.
    FOR routine IN
        SELECT p.oid::regprocedure
        FROM pg_proc p
        WHERE p.pronamespace = to_regnamespace(quote_ident(target))
          AND p.proname IN ('oquivran_format', 'oquivran_real', 'cdbl', 'oquivran_audit_user',
                            'oquivran_audit_time')
    LOOP
        EXECUTE format('REVOKE ALL ON FUNCTION %s FROM oquivran_operador, oquivran_auditor',
                       routine);
        EXECUTE format('GRANT EXECUTE ON FUNCTION %s TO oquivran_operador, oquivran_auditor',
                       routine);
    END LOOP;
END
$$;
