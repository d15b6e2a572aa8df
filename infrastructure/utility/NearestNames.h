// What somebody may have meant who mistyped a name.
#pragma once

#include <QStringList>

/// The candidates that are a few slips away from `name`, the nearest first, at most `most` of them:
/// up to two characters put in, left out, changed or swapped, or a third of a longer name. Upper
/// and lower case are the same. Takes the product of the lengths for each candidate; of names of
/// more than 100 characters none is near.
QStringList findNearestNames(const QString& name, const QStringList& candidates, int most = 3);
