</table>
</body></html>
