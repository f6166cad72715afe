log(
    level:int(3)
    file("/var/log/x.log")
    (* rotate *)
    size:long(3145728)
)
