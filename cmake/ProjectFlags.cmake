# Flags that every target of the project is compiled with: vyfp::flags.
add_library(vyfp_flags INTERFACE)
add_library(vyfp::flags ALIAS vyfp_flags)
target_compile_options(vyfp_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow
  # The host's records are packed: a pointer to a member may be misaligned, which 32-bit ARM traps on. GCC
  # knows the first of these warnings since version 9.
  $<$<NOT:$<AND:$<C_COMPILER_ID:GNU>,$<VERSION_LESS:$<C_COMPILER_VERSION>,9>>>:-Werror=address-of-packed-member>
  $<IF:$<C_COMPILER_ID:GNU>,-Werror=cast-align=strict,-Werror=cast-align>
  $<$<BOOL:${VYFP_WERROR}>:-Werror>
  # A fused multiply-add rounds once, two operations round twice: results would depend on the target.
  -ffp-contract=off)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|i.86)$" AND CMAKE_SIZEOF_VOID_P EQUAL 4)
  # The old floating-point unit of 32-bit x86 rounds to float only when a value is stored.
  target_compile_options(vyfp_flags INTERFACE -msse2 -mfpmath=sse)
endif()

# For tests, and for tools in builds that look for mistakes: these are compiled for longer than they run. The checks of the
# sanitizer for undefined behaviour that are left out are the costly ones; most of what they find ends a program under the
# address sanitizer, too.
add_library(vyfp_quick_flags INTERFACE)
target_compile_options(vyfp_quick_flags INTERFACE
  -O0 $<$<CXX_COMPILER_ID:GNU>:-fno-sanitize=null,alignment,object-size,pointer-overflow,vptr>)
target_link_libraries(vyfp_quick_flags INTERFACE vyfp_flags)
add_library(vyfp::quick_flags ALIAS vyfp_quick_flags)
# The work on pixels is the simulated host's: more optimisation of the tools would make them larger, not faster.
add_library(vyfp_tool_flags INTERFACE)
target_compile_options(vyfp_tool_flags INTERFACE $<$<CONFIG:Release>:-O1>)
target_link_libraries(vyfp_tool_flags INTERFACE vyfp_$<IF:$<CONFIG:Debug>,quick_,>flags)
add_library(vyfp::tool_flags ALIAS vyfp_tool_flags)

# For targets with precompiled headers: one that ccache brings back is older than what it was made of.
add_library(vyfp_pch_flags INTERFACE)
target_compile_options(vyfp_pch_flags INTERFACE
  "$<$<CXX_COMPILER_ID:Clang>:SHELL:-Xclang -fno-pch-timestamp>")
add_library(vyfp::pch_flags ALIAS vyfp_pch_flags)
