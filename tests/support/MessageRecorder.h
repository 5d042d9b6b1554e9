#pragma once

#include <oquivran/Module.h>

#include <QList>
#include <QString>

#include <functional>

// Installs a message handler that records every message the component shows and answers it,
// so no message box ever blocks a test. Restores the default handler when destroyed.
class MessageRecorder
{
public:
    struct Message
    {
        QString prompt;
        int style = 0;
        QString title;
    };

    explicit MessageRecorder(int answer = oquivran::AnswerOk) : m_answer(answer)
    {
        oquivran::setMessageHandler([this](const QString& prompt, int style, const QString& title) {
            messages.append({prompt, style, title});
            if (onMessage)
                onMessage(messages.last());
            return m_answer;
        });
    }
    ~MessageRecorder() { oquivran::setMessageHandler({}); }
    MessageRecorder(const MessageRecorder&) = delete;
    MessageRecorder& operator=(const MessageRecorder&) = delete;

    // The answer to give from now on (AnswerOk, AnswerYes, AnswerNo).
    void setAnswer(int answer) { m_answer = answer; }
    QString lastPrompt() const { return messages.isEmpty() ? QString() : messages.last().prompt; }
    int lastStyle() const { return messages.isEmpty() ? -1 : messages.last().style; }
    void clear() { messages.clear(); }

    QList<Message> messages;
    // Called for each message as it is shown, before it is answered.
    std::function<void(const Message&)> onMessage;

private:
    int m_answer;
};
