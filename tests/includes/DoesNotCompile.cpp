int Unknown()
{
    return nobodyDeclaredThis;
}
