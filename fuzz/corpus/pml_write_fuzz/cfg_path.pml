(* / *) cfg(
    (* /level *) level:int(3)
    (* /names *) names(
        (* /names/[0] *) :s(a b)
        (* /names/[1] *) :s(x)
    )
    (* /dir *) dir("C:/tmp")
)