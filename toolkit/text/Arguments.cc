#include "text/Arguments.h"

Arguments::Arguments(std::va_list list) {
  for (int tag = va_arg(list, int); tag != 0; tag = va_arg(list, int)) {
    if (count_ == KLG_MAX_ARGS) return;
    Argument& next = items_[count_];
    next.tag = static_cast<KlgParmType>(tag);
    switch (tag) {
      case KLG_BOOL:
      case KLG_INT:
      case KLG_CHAR:
        next.integer = va_arg(list, int);
        break;
      case KLG_LONG:
        next.integer = va_arg(list, long long);
        break;
      case KLG_FLOAT:
      case KLG_DOUBLE:
        next.real = va_arg(list, double);
        break;
      case KLG_STRING:
        next.text = va_arg(list, const char*);
        break;
      default:
        return;
    }
    ++count_;
  }
  complete_ = true;
}
