#pragma once

#include <QList>
#include <QString>
#include <QVariantList>
#include <QtGlobal>

namespace oquivran {

// A statement of the component written as the statement pipeline shares it: its form, with "?"
// for each literal that LiteralParameters takes out of its text, and those literals' values in
// order (QString or qint64). A statement the component runs again and again with other values
// then runs on its own data objects without its text being written and read back; the text is
// made only when something needs it (a host's own data object, a statement run once as
// written, an error).
class SharedStatement
{
public:
    // A shared form: the statement's text with "?" for each literal taken out; a "?" between
    // quotes is part of a text the form keeps. Worked out once for each statement.
    struct Form
    {
        explicit Form(const QString& text);
        QString text;
        QList<qsizetype> placeholders; // where each "?" the lexer reads as a parameter stands
        // The number of those "?": the values a statement of this form takes.
        qsizetype valueCount() const { return placeholders.size(); }
    };

    // Needs the form; its values are appended after, one for each "?".
    explicit SharedStatement(const Form& form);

    // Appends a quoted text's value. A value holding a single quote is refused with the
    // RuntimeError SqlValue::checked throws.
    void appendText(const QString& value);
    // Appends a whole number's value. The lexer reads a negative one's sign apart from its
    // digits, so its text's shared form is not form(): such a statement is not shared.
    void appendWhole(qint64 value);

    const QString& form() const { return m_form.text; }
    const QVariantList& values() const { return m_values; }
    // Whether form() and values() are what LiteralParameters::extract takes out of text().
    bool isShared() const { return m_shared; }
    // The statement as the component writes it: each "?" outside quotes replaced by its
    // value, a text between quotes and a whole number bare.
    QString text() const;

private:
    Form m_form;
    QVariantList m_values;
    bool m_shared = true;
};

} // namespace oquivran
