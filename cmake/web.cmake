# The browser page's WebAssembly module, built with Emscripten:
#   emcmake cmake -S . -B build/web-wasm && cmake --build build/web-wasm
# (scripts/web.sh does this and assembles the page in build/web/). The
# library and the configuration store are built as for Linux (no exceptions,
# no RTTI); the tool's pieces and web/edc_web.cpp beside them, with
# Emscripten's default of exceptions that abort.
set(EDC_WEB_PAGE_DIR ${CMAKE_BINARY_DIR}/page CACHE PATH "Where edc_web.js and edc_web.wasm go")

# Emscripten searches its own system root only. The header-only libraries
# from the distribution are reached through links in a folder of their own,
# so that /usr/include (glibc's headers) stays out of the include path.
set(_edc_web_headers ${CMAKE_BINARY_DIR}/distribution-headers)
foreach(header toml++ CLI nlohmann)
  find_path(_edc_dir_${header} ${header} PATHS /usr/include NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
  if(NOT _edc_dir_${header})
    message(FATAL_ERROR "${header} headers not found in /usr/include (see scripts/setup.sh)")
  endif()
  file(MAKE_DIRECTORY ${_edc_web_headers})
  file(CREATE_LINK ${_edc_dir_${header}}/${header} ${_edc_web_headers}/${header} SYMBOLIC)
endforeach()

add_compile_options(-Oz)
add_library(edidcomposer_web_library STATIC ${EDC_LIBRARY_SOURCES} ${EDC_STORE_SOURCES})
target_compile_options(edidcomposer_web_library PRIVATE ${EDC_LIBRARY_FLAGS})
target_include_directories(edidcomposer_web_library
  PUBLIC ${CMAKE_CURRENT_SOURCE_DIR}/include
  PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/src ${CMAKE_CURRENT_BINARY_DIR}/generated)
target_include_directories(edidcomposer_web_library SYSTEM PRIVATE ${_edc_web_headers})

add_executable(edc_web web/edc_web.cpp web/capture_stdout_web.cpp ${EDC_TOOL_PIECES})
target_include_directories(edc_web PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/tools)
target_include_directories(edc_web SYSTEM PRIVATE ${_edc_web_headers})
target_link_libraries(edc_web PRIVATE edidcomposer_web_library)
target_link_options(edc_web PRIVATE
  -Oz -sMODULARIZE=1 -sEXPORT_NAME=createEdcModule -sENVIRONMENT=web -sALLOW_MEMORY_GROWTH=1
  -sFILESYSTEM=0 -sEXPORTED_FUNCTIONS=_malloc,_free,_edc_web_read,_edc_web_compose
  -sEXPORTED_RUNTIME_METHODS=UTF8ToString,stringToUTF8,lengthBytesUTF8)
set_target_properties(edc_web PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${EDC_WEB_PAGE_DIR})
