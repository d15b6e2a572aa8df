#include "infrastructure/ip/flows/TxMedia2110.h"

namespace Tessorn {
namespace IpTypes {

TxMedia2110::~TxMedia2110() = default;

} // namespace IpTypes
} // namespace Tessorn
