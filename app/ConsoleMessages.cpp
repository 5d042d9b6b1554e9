#include "ConsoleMessages.h"

#include <oquivran/Module.h>

#include <QTextStream>

ConsoleMessages::ConsoleMessages(Answer questions) : m_questions(questions)
{
    oquivran::setMessageHandler([this](const QString& prompt, int style, const QString& title) {
        ++m_count;
        m_lastText = prompt;
        const bool question = (style & 0xF) == oquivran::MessageYesNo;
        QString text = prompt;
        text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
        QTextStream err(stderr);
        err << '[' << (title.isEmpty() ? QStringLiteral("oQUIVRAN") : title) << "] "
            << text.trimmed();
        if (question)
            err << (m_questions == Answer::Yes ? " -> Sí" : " -> No");
        err << Qt::endl;
        if (!question)
            return int(oquivran::AnswerOk);
        return int(m_questions == Answer::Yes ? oquivran::AnswerYes : oquivran::AnswerNo);
    });
}

ConsoleMessages::~ConsoleMessages()
{
    oquivran::setMessageHandler({});
}
