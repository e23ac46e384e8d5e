vintrel_test(pipeline_tests
  SOURCES EnumerationFiltersTest.cpp EnumerationTest.cpp IgnoreRuleTest.cpp NamedOnlyTest.cpp
    WrapperCollapseTest.cpp)
