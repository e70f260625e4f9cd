#include "transactions/payload.h"

#include <casebook/exception_base.h>

namespace casebook {

u64 PayloadReader::readCount(u64 leastElementSize) {
  u64 const count = readNumber<u64>(in_);
  if (count > in_.remaining() / leastElementSize)
    throw varnel::ExceptionBase{"Attempt to read beyond end of data block.", true};
  return count;
}

void refuseUnknownCommand() { throw varnel::ExceptionBase{"Unknown journal command.", true}; }

}  // namespace casebook
