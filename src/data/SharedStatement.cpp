#include "SharedStatement.h"

#include "SqlValue.h"

#include <algorithm>

namespace oquivran {

namespace {

// Calls text(run) for each run of the form's characters between its "?" outside quotes, and
// placeholder(index) for each such "?".
template <typename Placeholder, typename Text>
void walk(QStringView form, Placeholder placeholder, Text text)
{
    qsizetype next = 0;
    qsizetype runStart = 0;
    bool quoted = false;
    for (qsizetype at = 0; at < form.size(); ++at) {
        const QChar c = form[at];
        if (c == u'\'')
            quoted = !quoted;
        if (quoted || c != u'?')
            continue;
        text(form.sliced(runStart, at - runStart));
        placeholder(next++);
        runStart = at + 1;
    }
    text(form.sliced(runStart));
}

} // namespace

SharedStatement::Form::Form(const QString& text) : text(text)
{
    walk(
        text, [&](qsizetype) { ++valueCount; }, [](QStringView) {});
}

SharedStatement::SharedStatement(const Form& form) : m_form(form)
{
    m_values.reserve(form.valueCount);
}

void SharedStatement::appendText(const QString& value)
{
    // The statements of a loop bring many short texts: they are looked through here, and
    // SqlValue::checked refuses one that holds a quote as any other statement does.
    const auto* const begin = reinterpret_cast<const char16_t*>(value.constData());
    const char16_t* const end = begin + value.size();
    if (std::find(begin, end, u'\'') != end)
        SqlValue::checked(value);
    // A quoted text read out of a statement is never a null text, even when it is empty.
    if (value.isNull())
        m_values.emplaceBack(QStringLiteral(""));
    else
        m_values.emplaceBack(value);
}

void SharedStatement::appendWhole(qint64 value)
{
    if (value < 0)
        m_shared = false;
    m_values.append(value);
}

QString SharedStatement::text() const
{
    Q_ASSERT(m_values.size() == m_form.valueCount);
    qsizetype size = m_form.text.size();
    for (const QVariant& value : m_values)
        size += value.typeId() == QMetaType::QString ? value.toString().size() + 2 : 20;
    QString text;
    text.reserve(size);
    walk(
        m_form.text,
        [&](qsizetype index) {
            const QVariant& value = m_values.at(index);
            if (value.typeId() == QMetaType::QString)
                text += u'\'' + value.toString() + u'\'';
            else
                text += SqlValue::whole(value.toLongLong());
        },
        [&](QStringView run) { text += run; });
    return text;
}

} // namespace oquivran
