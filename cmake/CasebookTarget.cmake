# casebook_target(<target>)
#
# What holds for every target of this project and for nobody who links to it: the language level without extensions,
# hidden symbols, and the developer's warnings.
function(casebook_target target)
  set_target_properties(
    ${target}
    PROPERTIES CXX_EXTENSIONS OFF
               CXX_VISIBILITY_PRESET hidden
               VISIBILITY_INLINES_HIDDEN ON
               POSITION_INDEPENDENT_CODE ON)
  target_compile_features(${target} PUBLIC cxx_std_20)
  if(CASEBOOK_DEVELOPER)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wconversion -Wshadow -Werror)
    # g++ 12 reports overlapping copies inside its own std::string (GCC bug 105651).
    target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
  endif()
endfunction()
