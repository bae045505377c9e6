# perlayer_build_options: warnings and sanitizers of this project's own build. Targets link it
# PRIVATE; nothing of it reaches the programs that use the libraries.

add_library(perlayer_build_options INTERFACE)
target_compile_options(perlayer_build_options INTERFACE -Wall -Wextra -Wpedantic)

# Warnings are errors under the compilers that the sources are kept clean with. A newer one finds
# new things to warn of, and that must not keep anybody from building.
if((CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13) OR
   (CMAKE_CXX_COMPILER_ID MATCHES "Clang" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 15))
  target_compile_options(perlayer_build_options INTERFACE -Werror)
endif()

# The locks stand in the declarations (platform/ThreadAnnotations.h); clang checks them.
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  target_compile_options(perlayer_build_options INTERFACE -Wthread-safety -Werror=thread-safety)
endif()

# Checked containers of the standard library, in every build that is not a release.
target_compile_definitions(perlayer_build_options INTERFACE $<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)

if(PERLAYER_SANITIZE)
  set(sanitize "-fsanitize=${PERLAYER_SANITIZE}" -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_compile_options(perlayer_build_options INTERFACE ${sanitize})
  target_link_options(perlayer_build_options INTERFACE ${sanitize})
  # In instrumented code g++ takes the members of a std::variant for uninitialised. The release
  # build, which is not instrumented, keeps the warning.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(perlayer_build_options INTERFACE -Wno-maybe-uninitialized)
  endif()
endif()
