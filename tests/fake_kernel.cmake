# For the programs that include fake_kernel.h.
include_guard(GLOBAL)
add_library(fake_kernel INTERFACE)
target_link_options(fake_kernel INTERFACE
  LINKER:--wrap=socket,--wrap=setsockopt,--wrap=getsockopt,--wrap=bind,--wrap=close
  LINKER:--wrap=sendto,--wrap=sendmsg,--wrap=select,--wrap=recvfrom)
