#include "FileIo.h"

void cxh_testonly_set_io_fault_hook(cxio::FaultHook hook) {
  cxio::setFaultHook(hook);
}
