# One set of warnings and sanitizers for everything in the tree.
add_compile_options(-Wall -Wextra -Wpedantic -Wconversion)
if(KORVANE_WERROR)
    add_compile_options(-Werror)
endif()
if(KORVANE_SANITIZE)
    add_compile_options(-fsanitize=${KORVANE_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${KORVANE_SANITIZE})
endif()
