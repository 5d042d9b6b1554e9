#pragma once

#include <oquivran/Module.h>

#include <QString>

namespace oquivran {

// Every message box of the component goes through here to the host's message handler.
class Messages
{
public:
    // Shows a message with a MessageStyle (buttons plus icon) and returns the answer
    // (AnswerOk, AnswerYes or AnswerNo). An empty title is passed on as it is and means the
    // default title "oQUIVRAN".
    static int show(const QString& prompt, int style, const QString& title = QString());

    // The default title.
    static QString defaultTitle();
};

} // namespace oquivran
