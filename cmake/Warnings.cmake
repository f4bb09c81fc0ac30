# One set of warnings, as errors, for GCC and clang.
add_library(dhcp_warnings INTERFACE)
target_compile_options(dhcp_warnings INTERFACE
  -Wall -Wextra -Werror
  # Files that are compiled as one may call different things alike; each by itself is checked by the other builds.
  $<$<NOT:$<BOOL:$<TARGET_PROPERTY:UNITY_BUILD>>>:-Wshadow>
  -Wconversion -Wsign-conversion -Wformat=2 -Wundef -Wcast-qual -Wvla
  -Wimplicit-fallthrough -Wmissing-declarations
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Woverloaded-virtual -Wold-style-cast -Wextra-semi>
  $<$<CXX_COMPILER_ID:GNU>:-Wlogical-op -Wduplicated-cond>
  # The device's calls begin with two underscores; that is theirs to choose.
  # A list head that points to itself from the start is no use of it either; GCC still looks for real ones.
  $<$<CXX_COMPILER_ID:Clang>:-Wno-reserved-identifier -Wno-uninitialized>)
