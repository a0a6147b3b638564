// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QString>

namespace ondarix {

// Text of fixed length is cut to this many UTF-16 units, the terminator not counted.
inline constexpr int kFixedTextLength = 259;

// The first 259 units, and never half of a surrogate pair.
QString CutToFixedText(const QString& text);

// The lower-cased extension with its dot (".wav"), empty when there is none. A leading dot alone (".bashrc")
// is no extension.
QString LowerExtension(const QString& path);

}  // namespace ondarix
