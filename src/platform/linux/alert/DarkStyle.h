#pragma once

#include <QString>
#include <QStringList>
#include <optional>

namespace vesk::alert {

/// Which of the available styles draws dark colours for somebody who has chosen `style`: that one,
/// where it takes its colours from the palette, or its dark sister. None where neither is known:
/// a style that has colours of its own draws light buttons under a dark palette's light texts.
/// Thread: any.
std::optional<QString> darkStyle(const QString& style, const QStringList& available);

}  // namespace vesk::alert
