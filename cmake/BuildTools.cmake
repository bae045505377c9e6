# Tools that make building quicker where the machine has them: a compiler cache, a fast linker.

find_program(PERLAYER_CCACHE ccache)
if(PERLAYER_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER "${PERLAYER_CCACHE}")
endif()

include(CheckLinkerFlag)
foreach(linker IN ITEMS mold lld)
  check_linker_flag(CXX "-fuse-ld=${linker}" PERLAYER_LINKS_WITH_${linker})
  if(PERLAYER_LINKS_WITH_${linker})
    add_link_options("-fuse-ld=${linker}")
    break()
  endif()
endforeach()

# clangd and other tools look for it at the usual name in the build directory.
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
