// The pieces that make up the description of an identifier or of a standard. Each function appends
// to `text`, after a blank if there is text already.
#pragma once

#include "infrastructure/utility/video/PayloadIdentifierBase.h"

namespace PayloadIdentifierText {

/// Appends a word. An empty one, for a number without a name, leaves the blank.
void appendWord(QString& text, QLatin1String word);

/// "1920x1080p50": the size is the whole picture's.
void appendPicture(QString& text, quint32 width, quint32 height,
                   const PayloadIdentifierBase& identifier);

/// "YCbCr:422:10"
void appendSampling(QString& text, const PayloadIdentifierBase& identifier);

/// "QL 3G A 2-SI"
void appendInterface(QString& text, quint32 links, const PayloadIdentifierBase& identifier,
                     QLatin1String division);

/// "ICtCp PQ", each only if it is not the usual one.
void appendSignal(QString& text, const PayloadIdentifierBase& identifier);

/// "Rec.709"
void appendColourimetry(QString& text, const PayloadIdentifierBase& identifier);

} // namespace PayloadIdentifierText
