#include "ConsoleMessages.h"

#include <oquivran/Module.h>

#include <QTextStream>

ConsoleMessages::ConsoleMessages(Answer questions) : m_questions(questions)
{
    oquivran::setMessageHandler([this](const QString& prompt, int style, const QString& title) {
        ++m_count;
        m_lastText = prompt;
        const bool question = (style & 0xF) == oquivran::MessageYesNo;
        const int answer = !question                    ? int(oquivran::AnswerOk)
                           : m_questions == Answer::Yes ? int(oquivran::AnswerYes)
                                                        : int(oquivran::AnswerNo);
        if (m_quiet)
            return answer;
        QString text = prompt;
        text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
        QTextStream err(stderr);
        err << '[' << (title.isEmpty() ? QStringLiteral("oQUIVRAN") : title) << "] "
            << text.trimmed();
        if (question)
            err << (m_questions == Answer::Yes ? " -> Sí" : " -> No");
        err << Qt::endl;
        return answer;
    });
}

ConsoleMessages::~ConsoleMessages()
{
    oquivran::setMessageHandler({});
}
