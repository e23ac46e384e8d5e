# What every target of this project is compiled with. Linked privately, so that it never leaks to users of a target.
add_library(vintrel_compiler_options INTERFACE)
target_compile_options(vintrel_compiler_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor -Wcast-qual
  -Wformat=2 -Wundef -Wnull-dereference -Wimplicit-fallthrough
  -Wno-missing-field-initializers) # designated initialisers leave out fields on purpose
if(VINTREL_WERROR)
  target_compile_options(vintrel_compiler_options INTERFACE -Werror)
endif()
if(VINTREL_SANITIZE)
  # For the whole build: mixing sanitized and plain object files hides errors.
  add_compile_options(-fsanitize=${VINTREL_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${VINTREL_SANITIZE})
endif()
if(CMAKE_BUILD_TYPE STREQUAL "RelWithDebInfo")
  # The same sources give the same programs in every folder; debuggers started in this one find them.
  add_compile_options(-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.)
endif()

# A test program of Qt is linked in a fifth of the time by one of these. Releases keep the usual linker.
if(VINTREL_TESTS)
  include(CheckLinkerFlag)
  foreach(linker IN ITEMS mold lld)
    check_linker_flag(CXX -fuse-ld=${linker} vintrel_has_${linker})
    if(vintrel_has_${linker})
      add_link_options(-fuse-ld=${linker})
      break()
    endif()
  endforeach()
endif()
