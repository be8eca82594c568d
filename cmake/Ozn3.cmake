# One place for the conventions every target of the project follows.
option(OZN3_WERROR "Warnings are errors (CI)" OFF)
option(OZN3_SANITIZE "Build with AddressSanitizer and UndefinedBehaviorSanitizer" OFF)
if(OZN3_SANITIZE)
  # Every object and link of the tree, so that the libraries and the test programs share one runtime.
  add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=address,undefined)
endif()

function(ozn3_conventions target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wno-unused-parameter)
  if(OZN3_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR}/src)
endfunction()

# A library of the project: hidden symbols unless marked for export, an alias ozn3::name.
function(ozn3_library name kind)
  add_library(${name} ${kind} ${ARGN})
  add_library(ozn3::${name} ALIAS ${name})
  set_target_properties(${name} PROPERTIES
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    POSITION_INDEPENDENT_CODE ON)
  ozn3_conventions(${name})
endfunction()
