# What every target of this project shares: language level, warnings, sanitizers and the rules that keep the
# numbers equal on every compiler.

function(sinew_target target)
    target_compile_features(${target} PUBLIC cxx_std_20)
    set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
    # No fused multiply-add: it rounds once where the formulas round twice, and whether a compiler fuses depends
    # on the compiler and the processor. Same input, same bits.
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wshadow -Wpedantic -Wno-psabi -ffp-contract=off)
    # g++ 12 at -O3 guesses the class behind a face and then clones a setter past the thunk that adjusts `this`: the
    # call lands in the wrong object. Seen where a source sees both a face and its class.
    target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-devirtualize-speculatively>)
    # g++ 12 sees overlapping copies in std::string concatenation where there are none.
    target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
    if(SINEW_WARNINGS_AS_ERRORS)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
    if(SINEW_SANITIZE STREQUAL "thread")
        target_compile_options(${target} PRIVATE -fsanitize=thread -fno-omit-frame-pointer)
        target_link_options(${target} PUBLIC -fsanitize=thread)
    elseif(SINEW_SANITIZE)
        target_compile_options(${target} PRIVATE -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
        target_link_options(${target} PUBLIC -fsanitize=address,undefined)
    endif()
endfunction()
