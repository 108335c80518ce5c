# What a deployment of Driftwell decides. Each has a default that suits the sandbox.
set(DRIFTWELL_DEFAULT_HOST "http://driftwell.localhost:8787" CACHE STRING
    "The platform offered where a person has not chosen one")
set(DRIFTWELL_EXAMPLE_HOST "http://driftwell.localhost:8787" CACHE STRING
    "Stands in the empty field in which a person types the platform's host")
set(DRIFTWELL_CONFIG_DIR "" CACHE STRING
    "A configuration folder of this copy's own (a development copy); empty: ~/.config/dw")
set(DRIFTWELL_COMMAND_NAME "dw" CACHE STRING "The name of the command-line tool")
set(DRIFTWELL_FEED_URL "" CACHE STRING "The feed of software updates, an apt repository; empty: none")
set(DRIFTWELL_FEED_SUITE "stable" CACHE STRING "The suite of that repository; \"./\" for a flat one")
set(DRIFTWELL_FEED_COMPONENTS "main" CACHE STRING "The components of that suite; of a flat one none are used")
set(DRIFTWELL_FEED_KEY "" CACHE FILEPATH "The public key, binary (.gpg) or in letters (.asc), that signs the repository")
set(DRIFTWELL_VERSION "" CACHE STRING "The version that programs and packages tell; empty: the project's")
if(NOT DRIFTWELL_VERSION)
  set(DRIFTWELL_VERSION ${PROJECT_VERSION})
endif()
set(DRIFTWELL_MAINTAINER "Driftwell <packages@sites.example.org>" CACHE STRING "Who answers for the packages")

option(DRIFTWELL_PACKAGES "Lay out what is installed as the Debian packages have it, and prepare cpack for them" OFF)

option(DRIFTWELL_TESTS "Build the tests" ON)
option(DRIFTWELL_UNITY_TESTS "Compile the tests four files at a time; off is quicker for who changes one of them" ON)
option(DRIFTWELL_BENCHMARKS "Build the benchmarks" OFF)
option(DRIFTWELL_FUZZ "Build the fuzz targets (needs clang)" OFF)
option(DRIFTWELL_WARNINGS_AS_ERRORS "Treat warnings as errors" OFF)
set(DRIFTWELL_SANITIZE "" CACHE STRING "Sanitizers for -fsanitize, for example address,undefined")
