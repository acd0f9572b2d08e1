<?php session_start(); include "header.php"; ?>
<?php $_SESSION["visits"] = ($_SESSION["visits"] ?? 0) + 1; ?>
<p id='visits'>Visits in this session: <?= $_SESSION["visits"] ?></p>
<?php include "footer.php"; ?>
