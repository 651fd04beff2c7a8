# Flags that every target of the project is compiled with: vyfp::flags.
add_library(vyfp_flags INTERFACE)
add_library(vyfp::flags ALIAS vyfp_flags)
target_compile_options(vyfp_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow
  $<$<BOOL:${VYFP_WERROR}>:-Werror>
  # A fused multiply-add rounds once where two operations round twice: results would depend on the target.
  -ffp-contract=off)
