#include "Messages.h"

#include "ApplicationGuard.h"

#include <QApplication>
#include <QMessageBox>

#include <cstdio>

namespace oquivran {

namespace {

MessageHandler& installedHandler()
{
    static MessageHandler handler;
    return handler;
}

QMessageBox::Icon iconOf(int style)
{
    switch (style & 0xF0) {
    case MessageCritical:
        return QMessageBox::Critical;
    case MessageQuestion:
        return QMessageBox::Question;
    case MessageExclamation:
        return QMessageBox::Warning;
    case 64:
        return QMessageBox::Information;
    default:
        return QMessageBox::NoIcon;
    }
}

int defaultHandler(const QString& prompt, int style, const QString& title)
{
    const bool yesNo = (style & 0x0F) == MessageYesNo;
    if (!ApplicationGuard::ensure()) {
        // A host running without a GUI application still gets the text, and a question is
        // answered No so that nothing is done that was not confirmed.
        std::fprintf(stderr, "%s: %s\n", qPrintable(title), qPrintable(prompt));
        return yesNo ? AnswerNo : AnswerOk;
    }
    QMessageBox box(iconOf(style), title, prompt,
                    yesNo ? QMessageBox::Yes | QMessageBox::No : QMessageBox::Ok);
    const int answer = box.exec();
    if (yesNo)
        return answer == QMessageBox::Yes ? AnswerYes : AnswerNo;
    return AnswerOk;
}

} // namespace

int Messages::show(const QString& prompt, int style, const QString& title)
{
    if (installedHandler())
        return installedHandler()(prompt, style, title);
    return defaultHandler(prompt, style, title.isEmpty() ? defaultTitle() : title);
}

QString Messages::defaultTitle()
{
    return QStringLiteral("oQUIVRAN");
}

void setMessageHandler(MessageHandler handler)
{
    installedHandler() = std::move(handler);
}

} // namespace oquivran
