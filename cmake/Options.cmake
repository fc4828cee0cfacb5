# One interface target carries the strictness of the whole project.
add_library(torvelane_options INTERFACE)

target_compile_definitions(torvelane_options INTERFACE
  QT_NO_KEYWORDS
  QT_NO_CAST_FROM_ASCII
  QT_NO_CAST_TO_ASCII
  QT_NO_CAST_FROM_BYTEARRAY
  QT_NO_URL_CAST_FROM_STRING
  QT_NO_NARROWING_CONVERSIONS_IN_CONNECT
  QT_USE_QSTRINGBUILDER
  QT_DISABLE_DEPRECATED_BEFORE=0x060400
  QT_MESSAGELOGCONTEXT)

if(MSVC)
  target_compile_options(torvelane_options INTERFACE /W4 /utf-8 /permissive- /Zc:__cplusplus)
  if(TORVELANE_WERROR)
    target_compile_options(torvelane_options INTERFACE /WX)
  endif()
else()
  target_compile_options(torvelane_options INTERFACE
    -Wall -Wextra -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor -Woverloaded-virtual)
  if(TORVELANE_WERROR)
    target_compile_options(torvelane_options INTERFACE -Werror)
  endif()
endif()

if(WIN32)
  target_compile_definitions(torvelane_options INTERFACE
    UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN WINVER=0x0A00 _WIN32_WINNT=0x0A00)
endif()

if(TORVELANE_SANITIZE)
  target_compile_options(torvelane_options INTERFACE
    -fsanitize=${TORVELANE_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(torvelane_options INTERFACE -fsanitize=${TORVELANE_SANITIZE})
endif()

find_program(TORVELANE_CCACHE ccache)
if(TORVELANE_CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER "${TORVELANE_CCACHE}")
endif()

if(TORVELANE_SANITIZE STREQUAL "thread")
  # For every program. As an object: from an archive nobody would ask for what Qt has as well.
  add_library(torvelane_visible_qt OBJECT "${PROJECT_SOURCE_DIR}/tools/sanitizers/VisibleQt.cpp")
  target_link_libraries(torvelane_visible_qt PRIVATE Qt6::Core)
endif()
