# CIFRA_CACHE is the folder that scripts/setup fills.
if(DEFINED ENV{XDG_CACHE_HOME})
  set(CIFRA_CACHE "$ENV{XDG_CACHE_HOME}/cifra")
else()
  set(CIFRA_CACHE "$ENV{HOME}/.cache/cifra")
endif()
