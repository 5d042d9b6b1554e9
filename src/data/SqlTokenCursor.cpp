#include "SqlTokenCursor.h"

namespace oquivran {

bool SqlTokenCursor::isWord(qsizetype index, QStringView word) const
{
    if (!isKind(index, Token::Kind::Word))
        return false;
    const QStringView text = textOf(index);
    if (text.size() != word.size())
        return false;
    // Keywords are ASCII and match without regard to ASCII case, as the servers read them.
    for (qsizetype i = 0; i < text.size(); ++i) {
        char16_t c = text[i].unicode();
        char16_t k = word[i].unicode();
        if (c >= u'A' && c <= u'Z')
            c = char16_t(c + (u'a' - u'A'));
        if (k >= u'A' && k <= u'Z')
            k = char16_t(k + (u'a' - u'A'));
        if (c != k)
            return false;
    }
    return true;
}

QString SqlTokenCursor::nameOf(qsizetype index) const
{
    const QStringView text = textOf(index);
    if (m_tokens.at(index).kind != Token::Kind::QuotedName)
        return text.toString();
    const QChar quote = text.front();
    QString name = text.mid(1, text.size() - 2).toString();
    if (quote != u'[')
        name.replace(QString(2, quote), QString(quote));
    return name;
}

QString SqlTokenCursor::quotedText(qsizetype index) const
{
    const QStringView text = textOf(index);
    return text.mid(1, text.size() - 2)
        .toString()
        .replace(QStringLiteral("''"), QStringLiteral("'"));
}

qsizetype SqlTokenCursor::closing(qsizetype open) const
{
    const int depth = m_tokens.at(open).depth;
    for (qsizetype i = open + 1; i < count(); ++i) {
        if (m_tokens.at(i).depth == depth && isSymbol(i, u")"))
            return i;
    }
    return -1;
}

qsizetype SqlTokenCursor::findWord(qsizetype from, qsizetype to, int depth,
                                   std::initializer_list<QStringView> words) const
{
    for (qsizetype i = from; i < to; ++i) {
        if (m_tokens.at(i).depth != depth)
            continue;
        for (const QStringView word : words) {
            if (isWord(i, word))
                return i;
        }
    }
    return -1;
}

} // namespace oquivran
