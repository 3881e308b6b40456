# The program that works out a network file where no trained one is at hand. The build of the engine
# runs it, so it is built on every platform.
add_library(provisionalWeights STATIC provisionalWeights.cpp)
target_include_directories(provisionalWeights PUBLIC ${CMAKE_CURRENT_LIST_DIR})
target_link_libraries(provisionalWeights PUBLIC tarvonelEngine)

add_executable(provisionalNetwork provisionalNetwork.cpp)
target_link_libraries(provisionalNetwork PRIVATE provisionalWeights)
