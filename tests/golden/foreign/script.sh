echo "from a src script"
