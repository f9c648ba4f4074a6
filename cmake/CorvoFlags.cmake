# Compiler settings shared by every Corvo target.
add_library(corvo_flags INTERFACE)
target_compile_options(corvo_flags INTERFACE -Wall -Wextra $<$<BOOL:${CORVO_WERROR}>:-Werror>)
# __FILE__ reads "src/CorvoUtf8String.cpp", relative to the repository, in
# the reports of exceptions.
target_compile_options(corvo_flags INTERFACE -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=)
