; two labels of one name in one context
a:
noop
a:
