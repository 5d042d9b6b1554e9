#pragma once

#include <QString>

// The message handler of the headless subcommands: every message of the component goes to
// standard error as "[title] text"; questions are answered No, or Yes when the answer was set
// so, and the others OK.
class ConsoleMessages
{
public:
    // The answer given to the component's Yes/No questions.
    enum class Answer {
        No,
        Yes,
    };

    // Installs the handler; the destructor restores the component's default one.
    explicit ConsoleMessages(Answer questions = Answer::No);
    ~ConsoleMessages();
    ConsoleMessages(const ConsoleMessages&) = delete;
    ConsoleMessages& operator=(const ConsoleMessages&) = delete;

    // While quiet, messages are answered as usual but not written.
    void setQuiet(bool quiet) { m_quiet = quiet; }

    // The number of messages shown so far.
    int count() const { return m_count; }
    // The text of the last message.
    QString lastText() const { return m_lastText; }

private:
    Answer m_questions;
    bool m_quiet = false;
    int m_count = 0;
    QString m_lastText;
};
