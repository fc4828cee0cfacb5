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

if("${TORVELANE_API_BASE_URL}" STREQUAL "")
  set(TORVELANE_HAS_BACKEND_VALUE false)
else()
  set(TORVELANE_HAS_BACKEND_VALUE true)
endif()

configure_file("${PROJECT_SOURCE_DIR}/src/core/Deployment.h.in" "${PROJECT_BINARY_DIR}/generated/core/Deployment.h" @ONLY)
