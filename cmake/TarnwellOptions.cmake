# One interface target carries what every target of ours is compiled with. It is linked privately and
# never exported, so a project that uses Tarnwell sees none of it.
add_library(tarnwell_options INTERFACE)
target_compile_features(tarnwell_options INTERFACE cxx_std_20)
target_compile_options(
  tarnwell_options
  INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
            -Woverloaded-virtual -Wcast-qual -Wimplicit-fallthrough
            $<$<BOOL:${TARNWELL_WERROR}>:-Werror>)

# GCC 12 sees overlapping copies in `"text" + std::string` when it optimises; 13 no longer does.
target_compile_options(
  tarnwell_options
  INTERFACE $<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>:-Wno-restrict>)
# File names in assertions are relative to the repository, so that no build keeps its machine's paths.
target_compile_options(tarnwell_options INTERFACE -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=)

if(TARNWELL_SANITIZE)
  target_compile_options(tarnwell_options INTERFACE -fsanitize=${TARNWELL_SANITIZE}
                                                    -fno-omit-frame-pointer
                                                    -fno-sanitize-recover=all)
  target_link_options(tarnwell_options INTERFACE -fsanitize=${TARNWELL_SANITIZE})
endif()
