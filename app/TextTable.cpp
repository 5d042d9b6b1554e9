#include "TextTable.h"

#include "HostText.h"

#include <QDate>
#include <QJsonObject>

#include <algorithm>

namespace {

bool isNumber(const QVariant& value)
{
    switch (value.typeId()) {
    case QMetaType::Double:
    case QMetaType::Float:
    case QMetaType::Int:
    case QMetaType::LongLong:
    case QMetaType::UInt:
    case QMetaType::ULongLong:
    case QMetaType::Short:
        return true;
    default:
        return false;
    }
}

// A number as CSV and JSON carry it: the column's decimals, a dot, no grouping.
QString plainNumber(const QVariant& value, int decimals)
{
    if (decimals < 0 && value.typeId() != QMetaType::Double)
        return QString::number(value.toLongLong());
    return QString::number(value.toDouble(), 'f', std::max(decimals, 0));
}

bool isFigure(const QVariant& value)
{
    return value.metaType() == QMetaType::fromType<TextTable::Figure>();
}

// A figure's number for CSV and JSON: a dot, no grouping, the shortest exact text.
QString figureNumber(const QVariant& value)
{
    return QString::number(value.value<TextTable::Figure>().value, 'g', 15);
}

QString isoDate(const QVariant& value)
{
    return value.toDate().toString(Qt::ISODate);
}

bool isDate(const QVariant& value)
{
    return value.typeId() == QMetaType::QDate;
}

QString csvField(const QString& text)
{
    if (!text.contains(u',') && !text.contains(u'"') && !text.contains(u'\n') &&
        !text.contains(u'\r'))
        return text;
    QString quoted = text;
    quoted.replace(QStringLiteral("\""), QStringLiteral("\"\""));
    return u'"' + quoted + u'"';
}

} // namespace

TextTable::TextTable(const QList<Column>& columns) : m_columns(columns) {}

TextTable::TextTable(const QStringList& headers, const QList<Align>& aligns)
{
    for (int c = 0; c < headers.size(); ++c)
        m_columns << Column{headers[c], headers[c], c < aligns.size() ? aligns[c] : Align::Left};
}

void TextTable::addRow(const QStringList& cells)
{
    QVariantList values;
    for (const QString& cell : cells)
        values << cell;
    m_rows << values;
}

void TextTable::addValues(const QVariantList& values)
{
    m_rows << values;
}

QString TextTable::textCell(int column, const QVariant& value) const
{
    if (value.isNull())
        return QString();
    if (isFigure(value))
        return value.value<Figure>().text;
    if (isDate(value))
        return HostText::date(value.toDate());
    if (!isNumber(value))
        return value.toString();
    const int decimals = m_columns[column].decimals;
    if (decimals < 0 && value.typeId() != QMetaType::Double)
        return QString::number(value.toLongLong());
    return HostText::decimal(value.toDouble(), std::max(decimals, 0));
}

QString TextTable::toText() const
{
    QList<int> widths;
    for (const Column& column : m_columns)
        widths << int(column.header.size());
    QList<QStringList> cells;
    for (const QVariantList& row : m_rows) {
        QStringList texts;
        for (int c = 0; c < widths.size(); ++c) {
            texts << (c < row.size() ? textCell(c, row[c]) : QString());
            widths[c] = std::max(widths[c], int(texts.last().size()));
        }
        cells << texts;
    }
    const auto line = [&](const QStringList& texts) -> QString {
        QStringList padded;
        for (int c = 0; c < widths.size(); ++c) {
            const QString& cell = texts[c];
            const bool right = m_columns[c].align == Align::Right;
            padded << (right ? cell.rightJustified(widths[c]) : cell.leftJustified(widths[c]));
        }
        QString text = padded.join(QStringLiteral("  "));
        while (text.endsWith(u' '))
            text.chop(1);
        return text + u'\n';
    };
    QStringList headers;
    QStringList rules;
    for (int c = 0; c < widths.size(); ++c) {
        headers << m_columns[c].header;
        rules << QString(widths[c], u'-');
    }
    QString text = line(headers);
    text += rules.join(QStringLiteral("  ")) + u'\n';
    for (const QStringList& texts : cells)
        text += line(texts);
    return text;
}

QString TextTable::toCsv() const
{
    QStringList keys;
    for (const Column& column : m_columns)
        keys << csvField(column.key);
    QString text = keys.join(u',') + u'\n';
    for (const QVariantList& row : m_rows) {
        QStringList fields;
        for (int c = 0; c < m_columns.size(); ++c) {
            const QVariant value = c < row.size() ? row[c] : QVariant();
            if (value.isNull() || (isDate(value) && !value.toDate().isValid()))
                fields << QString();
            else if (isFigure(value))
                fields << figureNumber(value);
            else if (isDate(value))
                fields << isoDate(value);
            else if (isNumber(value))
                fields << plainNumber(value, m_columns[c].decimals);
            else
                fields << csvField(value.toString());
        }
        text += fields.join(u',') + u'\n';
    }
    return text;
}

QJsonArray TextTable::toJson() const
{
    QJsonArray rows;
    for (const QVariantList& row : m_rows) {
        QJsonObject object;
        for (int c = 0; c < m_columns.size(); ++c) {
            const QVariant value = c < row.size() ? row[c] : QVariant();
            QJsonValue json;
            if (value.isNull() || (isDate(value) && !value.toDate().isValid()))
                json = QJsonValue(QJsonValue::Null);
            else if (isFigure(value))
                json = value.value<Figure>().value;
            else if (isDate(value))
                json = isoDate(value);
            else if (isNumber(value))
                json = m_columns[c].decimals < 0 && value.typeId() != QMetaType::Double
                           ? QJsonValue(value.toLongLong())
                           : QJsonValue(plainNumber(value, m_columns[c].decimals).toDouble());
            else
                json = value.toString();
            object.insert(m_columns[c].key, json);
        }
        rows.append(object);
    }
    return rows;
}
