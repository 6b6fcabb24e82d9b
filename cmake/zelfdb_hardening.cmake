# What makes an error in what we ship harder to use for anything: for libraries, tools and benchmarks, not for the tests,
# which are not optimised. tests/package/check-hardening.sh looks at the built files.
include(CheckPIESupported)
check_pie_supported()

set(optimised $<AND:$<CONFIG:Release,RelWithDebInfo,MinSizeRel>,$<NOT:$<BOOL:${ZELFDB_SANITIZE}>>>)
add_library(zelfdb_hardening INTERFACE)
target_compile_options(zelfdb_hardening INTERFACE
  -fstack-protector-strong
  # Fortified functions need the optimiser, and the sanitizers bring their own.
  $<${optimised}:-U_FORTIFY_SOURCE>
  $<${optimised}:-D_FORTIFY_SOURCE=2>)
target_link_options(zelfdb_hardening INTERFACE LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)

# A program of ours, or what is linked into one.
function(zelfdb_harden_program target)
  target_link_libraries(${target} PRIVATE zelfdb_hardening)
  set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON)
endfunction()
