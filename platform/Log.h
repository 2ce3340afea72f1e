#pragma once

#include <QString>

#include <functional>

// Diagnostics: one plain line on standard error per message. Tests may divert the lines.
namespace Log {
void line(const QString& message);
using Sink = std::function<void(const QString&)>;
// Replaces where lines go; an empty sink restores standard error.
void setSink(Sink sink);
} // namespace Log
