; two operands without a comma
tagerror 1 2
