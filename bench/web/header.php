<html><head><title>Orders</title></head><body>
<table class="orders">
