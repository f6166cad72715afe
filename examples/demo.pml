(* The demo's configuration. The library reads "enable", "codepage" and the "log" section;
   the workers read their own sections. The log file name is taken from the demo's working
   folder. *)
demo(
    enable(true)
    codepage(65001)
    log(
        filename(zul_demo.log)
        infoOn(1)
        debugOn(1)
        traceOn(1)
        consoleOn(0)
    )
    workers(
        counter(rounds(3) step(2) label(counting))
        echo(rounds(2) step(1) label(echoing))
        broken(rounds(1) step(0) label(failing))
    )
)
