(* Settings of the sync client. Read at start-up; edit with care. *)
client(
    enable:bool(1)
    codepage(UTF-8)
    log(
        level:int(3)
        consoleOn:bool(0)
        file("/var/log/sync client/client.log")
        maxSize:int(3145728)
    )
    server(
        host(sync.example.org)
        port:int(8443)
        timeout:ms(2500)
        listen(
            :ip(127.0.0.1)
            :ip("::1")
        )
    )
    folders(
        (home:path("~/Sync"))
        (shared:path("/srv/team share"))
    )
    greeting('Welcome back, "friend"!')
)
