#include "base/VelException.h"

#include "base/Utils.h"

VelException::VelException(const char* message)
    : VeloraBase("VelException"), message_(Utils::cstrdup(message ? message : "")) {
  _logError(__FILE_NAME__, __LINE__, message_.get());
}
