// The base in which a number is written for people.
#pragma once

namespace Tessorn {
namespace Types {

/// A base; its value is the number of digits.
enum Base {
    Base_Decimal = 10,
    Base_Hexadecimal = 16,
};

} // namespace Types
} // namespace Tessorn
