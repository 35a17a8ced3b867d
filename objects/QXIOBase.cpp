#include <qxdb/QXIOBase.h>

namespace CQXBASE {

QXIOBase::~QXIOBase() = default;

int QXIOBase::toCDR(ACE_OutputCDR& /*out*/) const {
    return 0;
}

int QXIOBase::fromCDR(ACE_InputCDR& /*in*/) {
    return 0;
}

std::size_t QXIOBase::size() {
    return 0;
}

}  // namespace CQXBASE
