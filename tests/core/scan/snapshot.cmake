vintrel_test(snapshot_tests SOURCES
    ControlGroupTest.cpp OrphanedShellsTest.cpp ParentageTest.cpp RunnerRowsTest.cpp RunnerShellsTest.cpp SceneTest.cpp
    SnapshotRecordTest.cpp)
target_compile_definitions(snapshot_tests PRIVATE VINTREL_TEST_DATA="${PROJECT_SOURCE_DIR}/tests/core/data")
