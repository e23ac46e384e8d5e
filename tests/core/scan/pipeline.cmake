vintrel_test(pipeline_tests
  SOURCES EnumerationFiltersTest.cpp EnumerationTest.cpp IgnoreRuleTest.cpp NamedOnlyTest.cpp ScanTest.cpp
    WrapperCollapseTest.cpp)
