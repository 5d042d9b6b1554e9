-- The functions the component's SQL text needs on PostgreSQL, for the discharge database and
-- the host's other one. PgDataObject reads cdbl('…') and datevalue('…') by the user's locale
-- itself and sends the separator of the user's locale to these.

-- format(value, pattern) as the component rounds: the value taken to 15 significant digits
-- (as a double becomes a numeric), rounded half away from zero at the pattern's decimals (its
-- zeros and "#" after the point), the integer part padded with zeros to the zeros before the
-- point, "-" only before a value that does not round to zero, the decimal separator given and
-- no grouping.
CREATE OR REPLACE FUNCTION oquivran_format(value double precision, pattern text,
                                           separator text)
RETURNS text LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT CASE
        WHEN value IS NULL OR pattern IS NULL THEN NULL
        WHEN value IN ('Infinity'::double precision, '-Infinity'::double precision)
            OR value = 'NaN'::double precision THEN value::text
        ELSE (
            SELECT CASE WHEN rounded < 0 THEN '-' ELSE '' END
                || lpad(ltrim(split_part(abs(rounded)::text, '.', 1), '0'),
                        greatest(integer_zeros,
                                 length(ltrim(split_part(abs(rounded)::text, '.', 1), '0'))),
                        '0')
                || CASE WHEN decimals > 0
                        THEN separator || split_part(abs(rounded)::text, '.', 2)
                        ELSE '' END
            FROM (SELECT round(value::numeric, decimals) AS rounded, decimals, integer_zeros
                  FROM (SELECT length(regexp_replace(
                                   CASE WHEN strpos(pattern, '.') > 0
                                        THEN substr(pattern, strpos(pattern, '.') + 1)
                                        ELSE '' END, '[^0#]', '', 'g')) AS decimals,
                               length(regexp_replace(split_part(pattern, '.', 1), '[^0]', '',
                                                     'g')) AS integer_zeros) AS counts
                 ) AS formatted)
    END
$$;

-- A value written into a real column: the text format() gives (or a number's own text) as
-- the number it shows.
CREATE OR REPLACE FUNCTION oquivran_real(value text, separator text)
RETURNS double precision LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT replace(value, separator, '.')::double precision
$$;

-- cdbl() of a number is the number.
CREATE OR REPLACE FUNCTION cdbl(value double precision)
RETURNS double precision LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT value
$$;
