cfg(level:int(3)names(
        :s(a b)
        :s(x)
)dir("C:/tmp"))