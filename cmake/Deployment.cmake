# The differences between deployments. A build that leaves the neutral defaults in place has no backend: the
# addresses lie on example domains that are reserved and never resolve.
set(TORVELANE_API_BASE_URL "" CACHE STRING "Base URL of the backend: https, no path")
set(TORVELANE_WEB_BASE_URL "" CACHE STRING "Base URL of the web site: https, no path")
set(TORVELANE_RELEASE_FEED_URL "" CACHE STRING "URL of the latest release in the release feed")
set(TORVELANE_UPDATE_PUBLIC_KEY "" CACHE STRING "minisign public key that releases are signed with")
set(TORVELANE_SPEED_TEST_HOST "" CACHE STRING "Host name of the speed test endpoint")

function(torvelane_deployment_value name fallback)
  if("${${name}}" STREQUAL "")
    set(${name}_VALUE "${fallback}" PARENT_SCOPE)
  else()
    set(${name}_VALUE "${${name}}" PARENT_SCOPE)
  endif()
endfunction()

torvelane_deployment_value(TORVELANE_API_BASE_URL "https://api.torvelane.example")
torvelane_deployment_value(TORVELANE_WEB_BASE_URL "https://www.torvelane.example")
torvelane_deployment_value(TORVELANE_RELEASE_FEED_URL "https://releases.torvelane.example/latest")
torvelane_deployment_value(TORVELANE_UPDATE_PUBLIC_KEY "")
torvelane_deployment_value(TORVELANE_SPEED_TEST_HOST "speed.torvelane.example")

foreach(thing API_BASE_URL:BACKEND RELEASE_FEED_URL:RELEASE_FEED)
  string(REPLACE ":" ";" thing "${thing}")
  list(GET thing 0 variable)
  list(GET thing 1 name)
  if("${TORVELANE_${variable}}" STREQUAL "")
    set(TORVELANE_HAS_${name}_VALUE false)
  else()
    set(TORVELANE_HAS_${name}_VALUE true)
  endif()
endforeach()

# An update runs as administrator. Without a key, or over a line that anyone can write to, it would be anybody's.
if(TORVELANE_HAS_RELEASE_FEED_VALUE)
  if(NOT TORVELANE_RELEASE_FEED_URL MATCHES "^https://")
    message(FATAL_ERROR "TORVELANE_RELEASE_FEED_URL has to begin with https://")
  endif()
  # 42 bytes in base64: the algorithm "Ed", the key's number and the key.
  if(NOT TORVELANE_UPDATE_PUBLIC_KEY MATCHES "^RW[A-Za-z0-9+/]+$")
    message(FATAL_ERROR "A build with TORVELANE_RELEASE_FEED_URL needs TORVELANE_UPDATE_PUBLIC_KEY, the second line of a "
      "minisign public key file")
  endif()
  string(LENGTH "${TORVELANE_UPDATE_PUBLIC_KEY}" length)
  if(NOT length EQUAL 56)
    message(FATAL_ERROR "TORVELANE_UPDATE_PUBLIC_KEY has ${length} characters, a minisign public key has 56")
  endif()
endif()

set(TORVELANE_DEPLOYMENT_SOURCE "${PROJECT_BINARY_DIR}/generated/core/Deployment.cpp")
configure_file("${PROJECT_SOURCE_DIR}/src/core/Deployment.cpp.in" "${TORVELANE_DEPLOYMENT_SOURCE}" @ONLY)
