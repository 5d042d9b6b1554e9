#include "SharedStatement.h"

#include "SqlLexer.h"
#include "SqlValue.h"

#include <algorithm>

namespace oquivran {

SharedStatement::Form::Form(const QString& text) : text(text)
{
    // The lexer's own reading decides which "?" are the form's: one between quotes is a text's.
    const SqlLexer::Lexed lexed = SqlLexer::lex(text);
    Q_ASSERT(lexed.isLexed());
    for (const SqlLexer::Token& token : lexed.tokens) {
        if (token.kind == SqlLexer::Token::Kind::Parameter) {
            Q_ASSERT(token.size() == 1); // a form has bare "?" only
            placeholders.append(token.start);
        }
    }
}

SharedStatement::SharedStatement(const Form& form) : m_form(form)
{
    m_values.reserve(form.valueCount());
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
    Q_ASSERT(m_values.size() == m_form.valueCount());
    qsizetype size = m_form.text.size();
    for (const QVariant& value : m_values)
        size += value.typeId() == QMetaType::QString ? value.toString().size() + 2 : 20;
    QString text;
    text.reserve(size);
    qsizetype runStart = 0;
    for (qsizetype index = 0; index < m_form.valueCount(); ++index) {
        const qsizetype at = m_form.placeholders.at(index);
        text += QStringView(m_form.text).sliced(runStart, at - runStart);
        const QVariant& value = m_values.at(index);
        if (value.typeId() == QMetaType::QString)
            text += u'\'' + value.toString() + u'\'';
        else
            text += SqlValue::whole(value.toLongLong());
        runStart = at + 1;
    }
    text += QStringView(m_form.text).sliced(runStart);
    return text;
}

} // namespace oquivran
