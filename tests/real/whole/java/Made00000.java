/** The pattern of classes that the heap's test makes: the digits of the name are replaced. */
public class Made00000 {
    static long wide = 1;
    int number;
}
