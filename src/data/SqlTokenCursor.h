#pragma once

#include "SqlLexer.h"

#include <QString>
#include <QStringView>

#include <initializer_list>

namespace oquivran {

// Questions about the tokens of a lexed text, by index: what a token is, where its
// parenthesis closes, where a clause starts. An index out of range is no token: every question
// about it answers no.
class SqlTokenCursor
{
public:
    using Token = SqlLexer::Token;

    // Reads the tokens of a lexed text, which must outlive the cursor.
    explicit SqlTokenCursor(const SqlLexer::Lexed& lexed)
        : m_text(lexed.text), m_tokens(lexed.tokens)
    {
    }

    // The number of tokens.
    qsizetype count() const { return m_tokens.size(); }
    // The token at index, which must be in range.
    const Token& at(qsizetype index) const { return m_tokens.at(index); }

    // The token's text as written.
    QStringView textOf(qsizetype index) const
    {
        const Token& token = m_tokens.at(index);
        return m_text.mid(token.start, token.end - token.start);
    }

    // Whether the token at index is of the kind.
    bool isKind(qsizetype index, Token::Kind kind) const
    {
        return index >= 0 && index < count() && m_tokens.at(index).kind == kind;
    }

    // Whether the token at index is the word, ASCII case aside.
    bool isWord(qsizetype index, QStringView word) const;

    // Whether the token at index is the symbol.
    bool isSymbol(qsizetype index, QStringView symbol) const
    {
        return isKind(index, Token::Kind::Symbol) && textOf(index) == symbol;
    }

    // Whether the token at index is a "?" parameter (not numbered, not named).
    bool isPlainParameter(qsizetype index) const
    {
        return isKind(index, Token::Kind::Parameter) && m_tokens.at(index).size() == 1 &&
               m_text[m_tokens.at(index).start] == u'?';
    }

    // Whether the token at index is a name: a word or a quoted name.
    bool isName(qsizetype index) const
    {
        return isKind(index, Token::Kind::Word) || isKind(index, Token::Kind::QuotedName);
    }

    // The name at index without its quotes.
    QString nameOf(qsizetype index) const;

    // The quoted text at index as the text it stands for.
    QString quotedText(qsizetype index) const;

    // The index of the parenthesis that closes the one at open; -1 when none does.
    qsizetype closing(qsizetype open) const;

    // The first token of from..to - 1 at depth that is one of the words; -1 when none.
    qsizetype findWord(qsizetype from, qsizetype to, int depth,
                       std::initializer_list<QStringView> words) const;

private:
    QStringView m_text;
    const QList<Token>& m_tokens;
};

} // namespace oquivran
