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
    const int index = fieldIndex(field);
    if (index < 0)
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
    m_rows.clear();
    m_position = 0;
}

void Recordset::appendRow(const QVariantList& values)
{
    QVariantList row = values.mid(0, m_fieldNames.size());
    while (row.size() < m_fieldNames.size())
        row.append(QVariant());
    m_rows.append(row);
    m_position = 0;
}

void Recordset::clear()
{
    setFieldNames(QStringList());
}

int Recordset::fieldIndex(const QString& field) const
{
    const auto found = m_index.constFind(field);
    if (found != m_index.constEnd())
        return found.value();
    return m_index.value(field.toLower(), -1);
}

} // namespace oquivran
