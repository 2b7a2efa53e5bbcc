#pragma once

#include <QFont>
#include <QString>

/// How text from outside is made fit for an alert. Thread: main, with an application object.
namespace vesk::alert {

/// One paragraph: every run of white space, line breaks included, becomes one space, and words
/// longer than any line may be broken anywhere.
QString paragraph(const QString& text);

/// The text as it fits into that many lines of that width; what is too long loses whole characters
/// from its middle. The end stays: it is the part that says what is asked.
QString elidedParagraph(const QString& text, const QFont& font, int width, int lines);

}  // namespace vesk::alert
