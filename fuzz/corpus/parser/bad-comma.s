; a comma where a statement should start
,
