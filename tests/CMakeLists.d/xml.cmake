vn_add_test(text/VnXMLParserTest.cpp)
