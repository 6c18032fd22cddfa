# Compile options: kel_flags for every target, kel_options with stricter warnings for the library's own
# code, its tools and its benchmarks.
add_library(kel_flags INTERFACE)
add_library(kel_options INTERFACE)
target_link_libraries(kel_options INTERFACE kel_flags)
target_compile_options(kel_options INTERFACE -Wconversion)

# Results are compared bit for bit: no contraction of floating-point expressions, anywhere.
target_compile_options(kel_flags INTERFACE
  -ffp-contract=off -Wall -Wextra -Wshadow
  $<$<BOOL:${KEL_WERROR}>:-Werror>)

if(KEL_SANITIZE)
  target_compile_options(kel_flags INTERFACE
    -fsanitize=${KEL_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(kel_flags INTERFACE -fsanitize=${KEL_SANITIZE})
endif()

if(KEL_COVERAGE)
  target_compile_options(kel_flags INTERFACE --coverage)
  target_link_options(kel_flags INTERFACE --coverage)
endif()

if(KEL_FUZZ)
  target_compile_options(kel_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()
