; a system variable used above its declaration
pushs home
.system home "HOME"
