#pragma once

#include <QPageLayout>
#include <QString>

// The font size at which a report fits the width of an A4 page as the component writes its
// PDF: the component's fixed-pitch font, the PDF's page margins and the left margin of the
// print settings. The component prints at the operator's font size whatever the width; the
// host chooses a size that keeps every column on the page.
class FontFit
{
public:
    // The longest line of text-mode pages (lines ending in CR LF, pages in form feeds), without
    // its trailing blanks.
    static QString longestLine(const QString& pages);
    // The largest size from largest down to smallest at which line, drawn from marginMm, ends
    // inside the page's printable width; smallest when none does.
    static int largestFitting(const QString& line, QPageLayout::Orientation orientation,
                              double marginMm, int largest, int smallest);
    // Whether line fits at size.
    static bool fits(const QString& line, QPageLayout::Orientation orientation, double marginMm,
                     int size);
};
