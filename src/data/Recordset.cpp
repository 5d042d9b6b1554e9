#include <oquivran/Recordset.h>
#include <oquivran/RuntimeError.h>

namespace oquivran {

Recordset::Recordset(const QStringList& fieldNames)
{
    setFieldNames(fieldNames);
}

bool Recordset::eof() const
{
    return m_position >= m_rows.size();
}

void Recordset::moveFirst()
{
    m_position = 0;
}

void Recordset::moveNext()
{
    if (m_position < m_rows.size())
        ++m_position;
}

int Recordset::recordCount() const
{
    return int(m_rows.size());
}

QVariant Recordset::value(const QString& field) const
{
    return value(fieldIndex(field));
}

QList<int> Recordset::indexOf(const QStringList& fields) const
{
    QList<int> positions;
    positions.reserve(fields.size());
    for (const QString& field : fields)
        positions.append(fieldIndex(field));
    return positions;
}

QVariant Recordset::value(int index) const
{
    return at(index);
}

const QVariant& Recordset::at(int index) const
{
    if (index < 0 || index >= m_fieldNames.size())
        throw RuntimeError(ItemNotFound,
                           QStringLiteral("Item cannot be found in the collection corresponding "
                                          "to the requested name or ordinal."),
                           QStringLiteral("Recordset"));
    if (eof())
        throw RuntimeError::noCurrentRecord(QStringLiteral("Recordset"));
    return m_rows.at(m_position).at(index);
}

void Recordset::setFieldNames(const QStringList& fieldNames)
{
    m_fieldNames = fieldNames;
    m_index.clear();
    for (int i = 0; i < m_fieldNames.size(); ++i) {
        const QString key = m_fieldNames.at(i).toLower();
        if (!m_index.contains(key))
            m_index.insert(key, i);
        // The name as written too, so a lookup in the query's own letter case needs no
        // lower-casing; only when it finds the same field.
        if (m_index.value(key) == i && !m_index.contains(m_fieldNames.at(i)))
            m_index.insert(m_fieldNames.at(i), i);
    }
    m_found.resize(m_fieldNames.size());
    for (int i = 0; i < m_fieldNames.size(); ++i)
        m_found[i] = m_index.value(m_fieldNames.at(i).toLower());
    m_rows.clear();
    m_position = 0;
}

void Recordset::appendRow(const QVariantList& values)
{
    appendRow(QVariantList(values));
}

void Recordset::appendRow(QVariantList&& values)
{
    fitToFields(values);
    m_rows.append(std::move(values));
    m_position = 0;
}

void Recordset::replaceRows(QVariantList& values)
{
    fitToFields(values);
    if (m_rows.size() != 1)
        m_rows.resize(1);
    m_rows.first().swap(values);
    m_position = 0;
}

void Recordset::fitToFields(QVariantList& values) const
{
    const qsizetype fields = m_fieldNames.size();
    if (values.size() > fields)
        values.resize(fields);
    while (values.size() < fields)
        values.append(QVariant());
}

void Recordset::clear()
{
    setFieldNames(QStringList());
}

int Recordset::fieldIndex(const QString& field) const
{
    // A query has a dozen fields or so and is read by the names it was written with, so they
    // are compared in turn before the name is hashed. Names of one query mostly share their
    // first letters (ARTNRO, ARTITM): they differ in length or in the last letter, compared
    // first.
    const qsizetype size = field.size();
    const QChar* const wanted = field.constData();
    for (qsizetype i = 0; i < m_fieldNames.size(); ++i) {
        const QString& name = m_fieldNames.at(i);
        if (name.size() != size || size == 0)
            continue;
        const QChar* const letters = name.constData();
        if (letters[size - 1] != wanted[size - 1])
            continue;
        qsizetype k = 0;
        while (k < size - 1 && letters[k] == wanted[k])
            ++k;
        if (k == size - 1)
            return m_found.at(i);
    }
    const auto found = m_index.constFind(field);
    if (found != m_index.constEnd())
        return found.value();
    return m_index.value(field.toLower(), -1);
}

} // namespace oquivran
