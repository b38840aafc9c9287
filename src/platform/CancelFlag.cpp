#include "platform/CancelFlag.h"

CancelFlag& CancelFlag::Program() {
    static CancelFlag flag;
    return flag;
}
