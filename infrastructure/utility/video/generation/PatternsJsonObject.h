// Reads the catalogue of test patterns, a hand-written file "patterns.json" that lies beside the
// pattern images. A value; the images are not opened.
//
//   { "built": "2024-05-01", "comment": "...", "version": "1.0",
//     "patterns": [ { "title": "Bars 100%", "sampling": 422, "width": 1920, "height": 1080,
//                     "depth": 10, "colour": "RGB", "matrix": "709", "curve": "SDR_TV",
//                     "proxy": "bars_small.png", "image": "bars.png",
//                     "generate": "bars.patshader", "alpha": false } ] }
#pragma once

#include "infrastructure/utility/video/generation/TestPattern.h"

#include <QJsonObject>
#include <QList>

/// The catalogue in one file. Any object can be given; see isValid.
class PatternsJsonObject
{
public:
    explicit PatternsJsonObject(const QJsonObject& fileObject);

    /// True if "built", "comment" and "version" are strings and "patterns" is an array.
    bool isValid() const;

    /// The patterns in the order of the file. A faulty entry is left out, with log lines at level
    /// err that name the key and show the entry; the rest is loaded.
    QList<TestPattern> getDeserialisedPatterns() const;

private:
    QJsonObject catalogue;
};
