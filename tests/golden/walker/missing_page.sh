$VEXL render nothere.vxl
