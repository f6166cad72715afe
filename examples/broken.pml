(* A configuration with a mistake: the type of "port" is followed by ")" where its value
   should open with "(". *)
client(
    server(
        host(sync.example.org)
        port:int)8443(
    )
)
