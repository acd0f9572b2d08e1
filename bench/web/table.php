<?php $rows = 1000; include "header.php"; ?>
<?php for ($row = 0; $row < $rows; $row = $row + 1) { ?><?php if ($row % 2 == 0) { ?><tr class="even"><?php } else { ?><tr class="odd"><?php } ?><td id="<?= $row ?>">Item</td><td data-price="<?= $row * 3 ?>">Price</td><td data-half="<?= intdiv($row, 2) ?>">Half</td></tr>
<?php } ?>
<?php include "footer.php"; ?>
