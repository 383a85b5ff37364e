# The environment grammar and the topology decision are pure functions; the
# tests call them directly on canned inputs.
set(ORB_TEST_INTERNAL ${PROJECT_SOURCE_DIR}/thread/service/env_parse.cpp
                      ${PROJECT_SOURCE_DIR}/thread/service/cpuinfo.cpp
                      ${PROJECT_SOURCE_DIR}/thread/service/topology.cpp)
