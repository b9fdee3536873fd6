; string constants share dictionary bytes: inside an earlier text, across the joint of two, and the empty text
.string s1 "ab"
.string s2 "cd"
.string s3 "bc"
.string s4 "abc"
.string s5 ""
.string s6 "ab"
pushc s3
pushnc s5
popnc s6
pushdc s1, s4
